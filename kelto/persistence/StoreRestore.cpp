#include "kelto/persistence/StoreRestore.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <unordered_set>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/DatabaseInspection.hpp"
#include "kelto/persistence/LostAndFound.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/persistence/StoreErrors.hpp"
#include "kelto/persistence/StoreInspection.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

/// How long a program that is just closing the store is waited for.
constexpr std::chrono::milliseconds patience(1000);

/// A connection that has a store for itself; none when there is no store that could be open.
std::unique_ptr<SqliteDatabase> takenAlone(FileSystem& files, const std::string& storePath) {
    if (!files.status(storePath)) return nullptr;
    try {
        requireStoreFile(files, storePath);
        auto database = std::make_unique<SqliteDatabase>(storePath, patience);
        database->leaveLogOnClose();
        if (database->takeForItself()) return database;
    } catch (const PlatformError&) {
        return nullptr;  // damaged, or no store: no program opens it
    }
    constexpr std::int64_t busy = 5;  // SQLITE_BUSY
    throw PlatformError::described(
        errorDomain::sqlite,
        busy,
        storeNamed(storePath) +
            "is open in another program. Quit every program that uses the library, then try "
            "again.");
}

}  // namespace

StoreRestore::StoreRestore(const Schema& schema,
                           FileSystem& files,
                           Clock& clock,
                           Random& random,
                           std::string storePath,
                           std::vector<std::string> companions)
    : schema_(schema),
      files_(files),
      clock_(clock),
      storePath_(std::move(storePath)),
      companions_(std::move(companions)),
      place_(withoutLastPathComponent(storePath_)) {
    // A link stays: people move their libraries to other disks and leave one behind.
    place_ = files_.resolvedPath(place_).value_or(place_);
    files_.createFolders(withoutLastPathComponent(place_));
    temporaryFolder_ = temporaryPathBeside(place_, random);
}

StoreRestore::~StoreRestore() {
    removeUnpacked();
}

bool StoreRestore::isPlaceTaken() {
    return files_.status(place_) && !files_.list(place_).empty();
}

void StoreRestore::requireUnused() {
    (void)takenAlone(files_, storePath_);
}

std::string StoreRestore::placeOf(const std::string& name) {
    const std::string store(lastPathComponent(storePath_));
    const std::string payloads =
        externalDataFolder(joinedPath(unpacked_, store)).substr(unpacked_.size() + 1);
    const bool isPayload = name.starts_with(payloads + "/") &&
                           name.size() == payloads.size() + 1 + Digest::hexLength &&
                           Digest::parse(std::string_view(name).substr(payloads.size() + 1));
    const bool isKnown =
        isPayload || name == store ||
        std::find(companions_.begin(), companions_.end(), name) != companions_.end();
    // By their names alone, files could be put anywhere.
    return isKnown ? joinedPath(unpacked_, name) : "";
}

StoreReport StoreRestore::unpack(const std::string& backupPath, const Progress& progress) {
    removeUnpacked();
    const auto backup = files_.openForReading(backupPath);
    const std::uint64_t size = backup->status().size;
    unpacked_ = temporaryFolder_;
    const std::string store = joinedPath(unpacked_, lastPathComponent(storePath_));
    files_.createFolders(externalDataFolder(store));
    readBackup(
        *backup,
        [&](const BackupReader::Entry& entry) {
            const std::string path = placeOf(entry.name);
            if (path.empty()) {
                throw BackupReader(*backup).broken("it holds what no backup holds");
            }
            unpackedFiles_.push_back(path);
            return files_.create(path);
        },
        [&](std::uint64_t done) {
            if (progress) progress(done, 2 * size);
        });
    if (!files_.status(store)) {
        throw BackupReader(*backup).broken("its database is missing");
    }
    removeSurplus(store);
    const std::string folders[] = {externalDataFolder(store),
                                   std::string(withoutLastPathComponent(externalDataFolder(store))),
                                   unpacked_};
    for (const std::string& folder : folders) files_.syncFolder(folder);
    return StoreInspection(schema_, files_, store).run([&](std::uint64_t done, std::uint64_t all) {
        if (progress) progress(all + done, 2 * all);
    });
}

/// A backup may have payloads of a state that was given up while it was written.
void StoreRestore::removeSurplus(const std::string& store) {
    std::unordered_set<std::string> named;
    try {
        SqliteDatabase database(store, patience, SqliteDatabase::Access::readOnly);
        for (const StoredFile& file : payloadFilesOf(database)) named.insert(file.digest.hex());
    } catch (const PlatformError&) {
        return;  // damaged: all of them may belong to it
    }
    const std::string payloads = externalDataFolder(store);
    for (const std::string& name : files_.list(payloads)) {
        if (!named.contains(name)) files_.remove(joinedPath(payloads, name));
    }
}

std::string StoreRestore::takePlace() {
    const std::string parent(withoutLastPathComponent(place_));
    if (!isPlaceTaken()) {
        files_.rename(unpacked_, place_);
        unpacked_.clear();
        files_.syncFolder(parent);
        return "";
    }
    // Held until the other library is in the place: nobody begins to write into the former one.
    auto former = takenAlone(files_, storePath_);
    if (former) former->emptyLog();
    std::string aside = freeName();
    if (files_.swap(unpacked_, place_)) {
        files_.rename(std::exchange(unpacked_, ""), aside);
    } else {
        files_.rename(place_, aside);
        try {
            files_.rename(unpacked_, place_);
        } catch (const PlatformError&) {
            files_.rename(aside, place_);
            throw;
        }
        unpacked_.clear();
    }
    files_.syncFolder(parent);
    return aside;
}

std::string StoreRestore::freeName() {
    const std::string name = place_ + " before " + momentInName(clock_.now());
    std::string free = name;
    for (int number = 2; files_.status(free); ++number) {
        free = name + " (" + std::to_string(number) + ")";
    }
    return free;
}

void StoreRestore::removeUnpacked() noexcept {
    if (unpacked_.empty()) return;
    try {
        const std::string store = joinedPath(unpacked_, lastPathComponent(storePath_));
        for (const std::string& file : unpackedFiles_) files_.remove(file);
        for (const char* suffix : {"-wal", "-shm"}) files_.remove(store + suffix);
        const std::string payloads = externalDataFolder(store);
        files_.removeFolder(payloads);
        files_.removeFolder(withoutLastPathComponent(payloads));
        files_.removeFolder(unpacked_);
    } catch (const std::exception&) {
        // It stays beside the library, under the name of a file that was never finished.
    }
    unpacked_.clear();
    unpackedFiles_.clear();
}

}  // namespace kelto
