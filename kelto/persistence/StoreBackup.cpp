#include "kelto/persistence/StoreBackup.hpp"

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/DatabaseInspection.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

/// So many rounds go without the write lock.
constexpr int freeRounds = 3;

/// Ends the writing of a backup that is not wanted.
struct IsDamaged {};

/// What takes nothing away from the library, and needs nothing to be restored.
bool isHarmless(const StoreFinding& finding) {
    return finding.kind == Kind::unusedPayload || finding.kind == Kind::usedNumber;
}

/// A file beside the backup that goes with this object.
class PassingFile {
public:
    PassingFile(FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {}
    PassingFile(const PassingFile&) = delete;
    PassingFile& operator=(const PassingFile&) = delete;
    ~PassingFile() {
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
            try {
                files_.remove(path_ + suffix);
            } catch (const PlatformError&) {
                // A stray beside the backup, which the user sees.
            }
        }
    }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    FileSystem& files_;
    std::string path_;
};

}  // namespace

StoreBackup::StoreBackup(const Schema& schema,
                         FileSystem& files,
                         Clock& clock,
                         Random& random,
                         std::string storePath,
                         std::vector<std::string> companions)
    : schema_(schema),
      files_(files),
      clock_(clock),
      random_(random),
      storePath_(std::move(storePath)),
      externalFolder_(externalDataFolder(storePath_)),
      companions_(std::move(companions)) {}

StoreReport StoreBackup::write(const std::string& path, Damaged damaged, const Progress& progress) {
    progress_ = progress;
    const std::string temporaryPath = temporaryPathBeside(path, random_);
    try {
        writeAtomically(files_, temporaryPath, path, Durability::flushed, [&](File& file) {
            fill(path, file, damaged);
            verify(temporaryPath);
        });
    } catch (const IsDamaged&) {
        // The findings say what; nothing is left of the file.
    }
    return std::move(report_);
}

void StoreBackup::fill(const std::string& path, File& file, Damaged damaged) {
    BackupWriter archive(file, clock_.now());
    const PassingFile copy(files_, temporaryPathBeside(path, random_));
    // Opened once: looking at the database's file, as opening it does, and closing that file again
    // lets go of all that this process has locked in it.
    const std::unique_ptr<SqliteDatabase> store = openStoreToLook(files_, storePath_);
    int round = 0;
    while (++round <= freeRounds && !copyRound(archive, *store, copy.path())) {
    }
    if (round > freeRounds) {
        // Either files are lost, or others delete faster than they can be copied: now nobody does.
        SqliteDatabase lock(storePath_, SqliteStore::busyLimit);
        lock.run("BEGIN IMMEDIATE");
        (void)copyRound(archive, *store, copy.path());
        lock.run("ROLLBACK");
    }
    judge(copy.path());
    if (!report_.isHealthy() && damaged == Damaged::refuse) throw IsDamaged();
    copyWhole(archive, std::string(lastPathComponent(storePath_)), copy.path());
    for (const std::string& name : companions_) {
        const std::string companion = joinedPath(withoutLastPathComponent(storePath_), name);
        if (files_.status(companion)) copyWhole(archive, name, companion);
    }
    archive.finish();
}

bool StoreBackup::copyRound(BackupWriter& archive,
                            SqliteDatabase& store,
                            const std::string& copyPath) {
    files_.remove(copyPath);
    (void)files_.create(copyPath);  // here rather than by the database: nobody else may read it
    store.copyTo(copyPath);
    SqliteDatabase copy(copyPath, SqliteStore::busyLimit, SqliteDatabase::Access::readOnly);
    const std::vector<StoredFile> payloads = payloadFilesOf(copy);
    expected_ = archive.size() + files_.status(copyPath)->size;
    for (const StoredFile& payload : payloads) {
        if (!copied_.contains(payload.digest)) expected_ += payload.size;
    }
    gone_.clear();
    for (const StoredFile& payload : payloads) {
        if (copied_.contains(payload.digest) || copyPayload(archive, payload)) continue;
        gone_.insert(payload.digest);
    }
    return gone_.empty();
}

bool StoreBackup::copyPayload(BackupWriter& archive, const StoredFile& payload) {
    const std::string path = joinedPath(externalFolder_, payload.digest.hex());
    std::unique_ptr<File> source;
    try {
        source = files_.openForReading(path);
    } catch (const PlatformError&) {
        return false;
    }
    const std::string name =
        joinedPath(joinedPath(lastPathComponent(withoutLastPathComponent(externalFolder_)),
                              lastPathComponent(externalFolder_)),
                   payload.digest.hex());
    std::uint64_t left = source->status().size;
    const Digest digest = archive.add(name, left, [&](const BackupWriter::Sink& sink) {
        std::vector<std::byte> buffer(transferBufferBytes);
        while (left > 0) {
            std::size_t count = 0;
            try {
                count = source->read(
                    std::span(buffer).first(std::min<std::uint64_t>(left, buffer.size())));
            } catch (const PlatformError&) {
                return;  // a bad spot of the disk: what comes behind it is zeros
            }
            if (count == 0) return;
            left -= count;
            sink(Bytes(buffer).first(count));
            if (progress_) progress_(archive.size(), expected_);
        }
    });
    copied_.insert(payload.digest);
    if (digest != payload.digest) changed_.insert(payload.digest);
    return true;
}

void StoreBackup::copyWhole(BackupWriter& archive,
                            const std::string& name,
                            const std::string& path) {
    const auto source = files_.openForReading(path);
    std::uint64_t left = source->status().size;
    (void)archive.add(name, left, [&](const BackupWriter::Sink& sink) {
        std::vector<std::byte> buffer(transferBufferBytes);
        while (left > 0) {
            const std::size_t count =
                source->read(std::span(buffer).first(std::min<std::uint64_t>(left, buffer.size())));
            if (count == 0) throw PlatformError::fileRead(path, EIO);
            left -= count;
            sink(Bytes(buffer).first(count));
            if (progress_) progress_(archive.size(), expected_);
        }
    });
}

/// Looks at the state that was copied.
void StoreBackup::judge(const std::string& copyPath) {
    SqliteDatabase copy(copyPath, SqliteStore::busyLimit, SqliteDatabase::Access::readOnly);
    inspectDatabase(schema_, copy, report_);
    std::erase_if(report_.findings, isHarmless);
    for (const StoredFile& file : report_.files) {
        const bool isGone = gone_.contains(file.digest);
        if (!isGone && !changed_.contains(file.digest)) continue;
        report_.findings.push_back(
            {.kind = isGone ? Kind::missingPayload : Kind::damagedPayload,
             .sentence = "The file of " + ownersOf(schema_, copy, file.digest) + " is " +
                         (isGone ? "missing" : "damaged") + " (" + file.digest.hex() + ").",
             .digest = file.digest,
             .path = joinedPath(externalFolder_, file.digest.hex())});
    }
}

/// Reads back what was written, to its end.
void StoreBackup::verify(const std::string& path) {
    const auto file = files_.openForReading(path);
    const std::uint64_t all = file->status().size;
    readBackup(
        *file,
        [](const BackupReader::Entry&) { return nullptr; },
        [&](std::uint64_t done) {
            if (progress_) progress_(done, all);
        });
}

}  // namespace kelto
