#include "kelto/persistence/SqliteStoreOpening.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <span>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/persistence/SqliteMigration.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

/// "Persistent store of an incompatible version", as the platform's own layer numbers it.
constexpr std::int64_t incompatibleVersionCode = 134100;

PlatformError newerFormat(const std::string& path) {
    return PlatformError::described(
        errorDomain::cocoa,
        incompatibleVersionCode,
        storeNamed(path) +
            "was written by a newer version of Kelto. Update this application to open it.");
}

PlatformError notAStore(const std::string& path) {
    return PlatformError::described(
        errorDomain::sqlite,
        26,  // SQLITE_NOTADB
        storeNamed(path) +
            "couldn’t be opened because the file there isn’t a library store. Move it "
            "away to start an empty library.");
}

/// The mark and the format that a database file declares in its first 100 bytes (SQLite's file
/// format, section 1.3).
struct Declaration {
    std::int64_t applicationId = 0;
    std::int64_t formatVersion = 0;

    [[nodiscard]] bool isEmpty() const { return applicationId == 0 && formatVersion == 0; }
};

void check(const Declaration& declared, const std::string& path) {
    if (declared.isEmpty()) return;
    if (declared.applicationId != SqliteStore::applicationId) throw notAStore(path);
    if (declared.formatVersion > SqliteStore::formatVersion) throw newerFormat(path);
    if (declared.formatVersion < 1) throw notAStore(path);
}

std::int64_t bigEndian32(const std::byte* bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(bytes[i]);
    return value;
}

Declaration declarationOf(SqliteDatabase& database) {
    return {database.integer("PRAGMA application_id"), database.integer("PRAGMA user_version")};
}

void createTables(const Schema& schema, SqliteDatabase& database) {
    if (database.integer("SELECT count(*) FROM sqlite_schema") != 0) {
        throw notAStore(database.path());
    }
    for (const std::string& statement : sql::createStore(schema)) database.run(statement);
    database.run("PRAGMA application_id = " + std::to_string(SqliteStore::applicationId));
}

/// Makes the tables of an empty store and brings those of an earlier format up to date, unless
/// another program has done so in the meantime.
void bringUpToDate(const Schema& schema, SqliteDatabase& database) {
    database.run("BEGIN IMMEDIATE");
    try {
        const Declaration declared = declarationOf(database);
        check(declared, database.path());
        if (declared.formatVersion != SqliteStore::formatVersion) {
            if (declared.isEmpty()) {
                createTables(schema, database);
            } else {
                migrateTables(database, declared.formatVersion);
            }
            database.run("PRAGMA user_version = " + std::to_string(SqliteStore::formatVersion));
        }
        database.run("COMMIT");
    } catch (...) {
        if (database.isInTransaction()) database.run("ROLLBACK");
        throw;
    }
}

/// Whether a power cut in the making of the store can have left this beginning: the pages of a file
/// reach the disk in any order, and until the first one does, it begins with zeros. The database
/// takes such a file back to an empty one by the journal beside it, which was flushed before.
bool isBegunOnly(std::span<const std::byte> header, FileSystem& files, const std::string& path) {
    const bool isZero = std::all_of(
        header.begin(), header.end(), [](std::byte byte) { return byte == std::byte{}; });
    if (!isZero) return false;
    const auto journal = files.status(path + "-journal");
    return journal && journal->size > 0;
}

void createFileIfMissing(FileSystem& files, const std::string& path) {
    if (files.status(path)) return;
    try {
        // Made here rather than by the database, so that nobody else may read it.
        (void)files.create(path);
    } catch (const PlatformError&) {
        if (!files.status(path)) throw;  // else another program was quicker
    }
}

}  // namespace

std::string externalDataFolder(const std::string& storePath) {
    const std::string stem(withoutPathExtension(lastPathComponent(storePath)));
    return joinedPath(joinedPath(withoutLastPathComponent(storePath), "." + stem + "_SUPPORT"),
                      "_EXTERNAL_DATA");
}

void requireStoreFile(FileSystem& files, const std::string& path) {
    // The file itself is looked at: merely opening a database may already change those beside it.
    std::array<std::byte, 100> header{};
    const std::size_t read = files.openForReading(path)->read(header);
    if (read == 0 || isBegunOnly(std::span(header).first(read), files, path)) return;
    if (read < header.size() || std::memcmp(header.data(), "SQLite format 3", 16) != 0) {
        throw notAStore(path);
    }
    check({bigEndian32(&header[68]), bigEndian32(&header[60])}, path);
}

std::unique_ptr<SqliteDatabase> openStoreToLook(FileSystem& files, const std::string& path) {
    requireStoreFile(files, path);
    auto database = std::make_unique<SqliteDatabase>(path, SqliteStore::busyLimit);
    database->run("PRAGMA trusted_schema = OFF");
    database->run("PRAGMA cell_size_check = ON");
    const auto log = files.status(path + "-wal");
    if (log && log->size > 0) database->leaveLogOnClose();
    requireKnownFormat(*database);
    return database;
}

void requireKnownFormat(SqliteDatabase& database) {
    check(declarationOf(database), database.path());
}

std::unique_ptr<SqliteDatabase> openStoreDatabase(const Schema& schema,
                                                  FileSystem& files,
                                                  const std::string& path) {
    createFileIfMissing(files, path);
    requireStoreFile(files, path);
    auto database = std::make_unique<SqliteDatabase>(path, SqliteStore::busyLimit);
    // It would stay so when the file can be written again, and a transaction that takes no write
    // lock would let a sweep meet another program's payloads.
    if (database->isReadOnly()) throw database->error(8);  // SQLITE_READONLY
    // A newer format may still stand in the write-ahead log alone.
    requireKnownFormat(*database);
    bringUpToDate(schema, *database);
    database->run("PRAGMA journal_mode = WAL");
    database->run("PRAGMA synchronous = FULL");
    database->run("PRAGMA foreign_keys = ON");
    database->run("PRAGMA trusted_schema = OFF");
    return database;
}

}  // namespace kelto
