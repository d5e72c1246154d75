#include "kelto/persistence/StoreInspection.hpp"

#include <algorithm>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/DatabaseInspection.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/platform/FileDigest.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

constexpr std::uint32_t othersRights = 077;
constexpr std::uint32_t ownersWriting = 0200;

/// Whether a row names the digest as one whose bytes lie in a file.
bool isNamed(SqliteDatabase& database, const Digest& digest) {
    SqliteStatement select(database,
                           R"(SELECT 1 FROM "Payload" WHERE "digest" = ? AND "bytes" IS NULL)");
    select.blob(0, std::as_bytes(std::span(digest.bytes)));
    return select.step();
}

/// Of a program that ended before it could make the tables; the next one makes them.
bool isWithoutTables(SqliteDatabase& database) {
    try {
        return database.integer("SELECT count(*) FROM sqlite_schema") == 0;
    } catch (const PlatformError&) {
        return false;  // what is damaged is told by those who look closer
    }
}

}  // namespace

PayloadFileState stateOfPayloadFile(FileSystem& files,
                                    const std::string& path,
                                    const StoredFile& file,
                                    const std::function<void(std::uint64_t)>& progress) {
    const auto status = files.status(path);
    if (!status) return PayloadFileState::missing;
    if (status->kind != FileStatus::Kind::regular || status->size != file.size) {
        return PayloadFileState::damaged;
    }
    try {
        const auto source = files.openForReading(path);
        const Digest digest = digestToEnd(*source, progress).digest;
        return digest == file.digest ? PayloadFileState::sound : PayloadFileState::damaged;
    } catch (const PlatformError&) {
        // Gone since the look at its status, or unreadable, by the disk or for this user.
        return files.status(path) ? PayloadFileState::damaged : PayloadFileState::missing;
    }
}

StoreInspection::StoreInspection(const Schema& schema, FileSystem& files, std::string storePath)
    : schema_(schema),
      files_(files),
      storePath_(std::move(storePath)),
      externalFolder_(externalDataFolder(storePath_)) {}

StoreReport StoreInspection::run(const Progress& progress) {
    const auto status = files_.status(storePath_);
    if (!status) {
        findStrays();
        if (report_.isHealthy()) {
            report_.notes.push_back("There is no library yet: “" + storePath_ +
                                    "” is made by the first exchange.");
        } else {
            report_.findings.insert(
                report_.findings.begin(),
                {.kind = Kind::unusableDatabase,
                 .sentence = "The database “" + spokenFileName(storePath_) +
                             "” is missing, and files of a library are there: the next program "
                             "begins an empty library and moves them to “Lost and found”."});
        }
        return std::move(report_);
    }
    inspectDatabaseAlone();
    if (isReadable_) {
        inspectPayloadFiles(progress);
        findStrays();
        confirm();
    }
    inspectPermissions();
    return std::move(report_);
}

void StoreInspection::inspectDatabaseAlone() {
    try {
        if (files_.status(storePath_)->size == 0 && !files_.status(storePath_ + "-wal"))
            return noteThatItIsEmpty();
        const auto database = openStoreToLook(files_, storePath_);
        database->run("BEGIN");
        if (isWithoutTables(*database)) return noteThatItIsEmpty();
        inspectDatabase(schema_, *database, report_);
        // Without this table nobody knows which files belong to the library.
        isReadable_ = database->integer("SELECT count(*) FROM \"Payload\"") >= 0;
        database->run("ROLLBACK");
    } catch (const PlatformError& error) {
        report_.findings.push_back(
            {.kind = Kind::unusableDatabase, .sentence = error.localizedDescription()});
    }
}

void StoreInspection::noteThatItIsEmpty() {
    report_.notes.emplace_back("The library is empty: its database holds nothing yet.");
    isReadable_ = false;
    findStrays();
}

void StoreInspection::inspectPayloadFiles(const Progress& progress) {
    std::uint64_t all = 0;
    for (const StoredFile& file : report_.files) all += file.size;
    std::uint64_t done = 0;
    const auto read = [&](std::uint64_t bytes) {
        done += bytes;
        if (progress) progress(done, all);
    };
    for (const StoredFile& file : report_.files) {
        const std::string path = joinedPath(externalFolder_, file.digest.hex());
        const PayloadFileState state = stateOfPayloadFile(files_, path, file, read);
        if (state == PayloadFileState::sound) continue;
        // Whose file it is, is asked when it is confirmed.
        const bool isMissing = state == PayloadFileState::missing;
        report_.findings.push_back({.kind = isMissing ? Kind::missingPayload : Kind::damagedPayload,
                                    .sentence = "The payload file “" + file.digest.hex() + "” is " +
                                                (isMissing ? "missing." : "damaged."),
                                    .digest = file.digest,
                                    .path = path});
    }
}

std::vector<std::string> StoreInspection::namesOfFiles() {
    if (!files_.status(externalFolder_)) return {};
    std::vector<std::string> names = files_.list(externalFolder_);
    std::sort(names.begin(), names.end());
    return names;
}

void StoreInspection::findStrays() {
    std::unordered_set<Digest> named;
    for (const StoredFile& file : report_.files) named.insert(file.digest);
    for (const std::string& name : namesOfFiles()) {
        const std::string path = joinedPath(externalFolder_, name);
        const auto digest = Digest::parse(name);
        if (digest && !named.contains(*digest)) {
            report_.findings.push_back(
                {.kind = Kind::stray,
                 .sentence = "The file “" + name +
                             "” belongs to no item: left over by a program that ended too early, "
                             "or the item is lost.",
                 .digest = digest,
                 .path = path});
        } else if (!digest && isTemporaryName(name)) {
            report_.findings.push_back(
                {.kind = Kind::leftover,
                 .sentence = "The file “" + name +
                             "” was never finished, by a program that ended too early.",
                 .path = path});
        }
    }
}

void StoreInspection::confirm() {
    const auto concernsFiles = [](const StoreFinding& finding) { return !finding.path.empty(); };
    if (std::none_of(report_.findings.begin(), report_.findings.end(), concernsFiles)) return;
    try {
        judgeAgain();
    } catch (const PlatformError&) {
        // The database could be read a moment ago: what was found then stands.
    }
}

void StoreInspection::judgeAgain() {
    const auto database = openStoreToLook(files_, storePath_);
    // A program at work has files without a row, and rows whose file it is about to remove.
    bool nobodyWrites = true;
    try {
        database->run("BEGIN IMMEDIATE");
    } catch (const PlatformError&) {
        nobodyWrites = false;
        database->run("BEGIN");
    }
    dropWhatHasSettled(*database, nobodyWrites);
    database->run("ROLLBACK");
}

void StoreInspection::dropWhatHasSettled(SqliteDatabase& database, bool nobodyWrites) {
    std::size_t unjudged = 0;
    // All of the files may be gone, and nobody can write meanwhile: no search for each of them.
    std::unordered_map<Digest, const StoredFile*> files;
    for (const StoredFile& file : report_.files) files.emplace(file.digest, &file);
    const auto hasSettled = [&](StoreFinding& finding) {
        if (finding.path.empty()) return false;
        if (finding.kind == Kind::stray || finding.kind == Kind::leftover) {
            if (!nobodyWrites) {
                ++unjudged;
                return true;
            }
            return !files_.status(finding.path) ||
                   (finding.digest && isNamed(database, *finding.digest));
        }
        if (!isNamed(database, *finding.digest)) return true;
        const StoredFile& file = *files.at(*finding.digest);
        const auto state = stateOfPayloadFile(files_, finding.path, file, {});
        if (state == PayloadFileState::sound) return true;
        const bool isMissing = state == PayloadFileState::missing;
        finding.kind = isMissing ? Kind::missingPayload : Kind::damagedPayload;
        finding.sentence = "The file of " + ownersOf(schema_, database, *finding.digest) + " is " +
                           (isMissing ? "missing" : "damaged") + " (" + finding.digest->hex() +
                           "): an exchange that needs it fails.";
        return false;
    };
    std::erase_if(report_.findings, hasSettled);
    if (unjudged == 0) return;
    report_.notes.push_back("A program is writing into the library: " + std::to_string(unjudged) +
                            " files without an item were passed over, since it may be about to "
                            "store them. Look again when it has finished.");
}

void StoreInspection::inspectPermissions() {
    const std::string folder(withoutLastPathComponent(storePath_));
    const auto add = [&](const std::string& path, const std::string& sentence) {
        report_.findings.push_back({.kind = Kind::permissions, .sentence = sentence, .path = path});
    };
    for (const std::string& path : {folder, storePath_, externalFolder_}) {
        const auto status = files_.status(path);
        if (status && (status->permissions & ownersWriting) == 0) {
            add(path, "“" + spokenFileName(path) + "” may not be written: no exchange succeeds.");
        }
    }
    // What lies in a folder that nobody else may enter is safe, whatever its own permissions are.
    const auto status = files_.status(folder);
    if (!status || (status->permissions & othersRights) == 0) return;
    for (const std::string& path : {folder, storePath_, storePath_ + "-wal", externalFolder_}) {
        const auto found = files_.status(path);
        if (!found || (found->permissions & othersRights) == 0) continue;
        add(path, "Others on this computer may get at “" + spokenFileName(path) + "”.");
    }
}

}  // namespace kelto
