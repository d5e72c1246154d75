#include "kelto/persistence/SqliteDatabase.hpp"

#include <cerrno>
#include <cstring>
#include <utility>

#include <sqlite3.h>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

/// What the system said to the last call, in whose beginning errno was 0; 0 for failures of which
/// the system knows nothing. SQLite's own answer (sqlite3_system_errno) leaves out failed commits.
int systemErrorOf(int code) {
    const int kind = code & 0xff;
    return kind == SQLITE_IOERR || kind == SQLITE_CANTOPEN ? errno : 0;
}

std::string systemReason(int systemError) {
    const char* text = strerrordesc_np(systemError);
    return text != nullptr ? text : "error " + std::to_string(systemError);
}

/// What went wrong and what to do, for a person.
std::string sentence(const std::string& path,
                     int code,
                     const std::string& detail,
                     int systemError) {
    const std::string name = storeNamed(path);
    const bool isFull = systemError == ENOSPC || systemError == EDQUOT;
    switch (isFull ? SQLITE_FULL : code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return name + "is in use by another program. Try again when that has finished.";
        case SQLITE_FULL:
            return name + "couldn’t be saved because there isn’t enough space.";
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return name + "couldn’t be saved because it is read only.";
        case SQLITE_CANTOPEN:
            // What cannot be made beside the database SQLite tries to open as it is: the system
            // then speaks of a missing file, which is the consequence and not the cause.
            if (systemError == 0 || systemError == ENOENT) {
                return name + "couldn’t be opened. Its folder may be full, or not writable.";
            }
            return name + "couldn’t be opened (" + systemReason(systemError) + ").";
        case SQLITE_NOTADB:
            return name + "couldn’t be opened because it isn’t a library store.";
        case SQLITE_CORRUPT:
            return name + "is damaged (" + detail + "). " + std::string(whatHelpsDamage);
        default:
            return name + "couldn’t be used (" + detail + ").";
    }
}

}  // namespace

SqliteStatement::SqliteStatement(SqliteDatabase& database, std::string_view sql)
    : database_(database) {
    errno = 0;
    const int code = sqlite3_prepare_v3(database_.handle_,
                                        sql.data(),
                                        static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT,
                                        &statement_,
                                        nullptr);
    if (code != SQLITE_OK) throw database_.error(code);
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(statement_);
}

// Binding fails for a wrong number, which is a bug, or for a value beyond the database's limits.
void SqliteStatement::null(int parameter) {
    if (const int code = sqlite3_bind_null(statement_, parameter + 1)) throw database_.error(code);
}

void SqliteStatement::integer(int parameter, std::int64_t value) {
    if (const int code = sqlite3_bind_int64(statement_, parameter + 1, value)) {
        throw database_.error(code);
    }
}

void SqliteStatement::real(int parameter, double value) {
    if (const int code = sqlite3_bind_double(statement_, parameter + 1, value)) {
        throw database_.error(code);
    }
}

void SqliteStatement::text(int parameter, std::string_view value) {
    // A null pointer would be stored as NULL instead of the empty text.
    const char* start = value.data() != nullptr ? value.data() : "";
    const int code = sqlite3_bind_text64(
        statement_, parameter + 1, start, value.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (code != SQLITE_OK) throw database_.error(code);
}

void SqliteStatement::blob(int parameter, Bytes value) {
    const int code =
        value.empty() ? sqlite3_bind_zeroblob(statement_, parameter + 1, 0)
                      : sqlite3_bind_blob64(
                            statement_, parameter + 1, value.data(), value.size(), SQLITE_STATIC);
    if (code != SQLITE_OK) throw database_.error(code);
}

void SqliteStatement::copiedText(int parameter, const std::string& value) {
    const int code = sqlite3_bind_text64(
        statement_, parameter + 1, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (code != SQLITE_OK) throw database_.error(code);
}

bool SqliteStatement::step() {
    errno = 0;
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) {
        reset();
        return false;
    }
    const StatementUse ended(*this);
    throw database_.error(code);  // made before the reset, which would forget the cause
}

void SqliteStatement::run() {
    while (step()) {
    }
}

void SqliteStatement::reset() noexcept {
    sqlite3_reset(statement_);
}

bool SqliteStatement::isNull(int column) {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::integer(int column) {
    return sqlite3_column_int64(statement_, column);
}

double SqliteStatement::real(int column) {
    return sqlite3_column_double(statement_, column);
}

std::string_view SqliteStatement::text(int column) {
    const auto* start = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    if (start == nullptr) return {};
    return {start, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

Bytes SqliteStatement::blob(int column) {
    const auto* start = static_cast<const std::byte*>(sqlite3_column_blob(statement_, column));
    if (start == nullptr) return {};
    return {start, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

SqliteDatabase::SqliteDatabase(std::string path, std::chrono::milliseconds busyLimit, Access access)
    : path_(std::move(path)), busyLimit_(busyLimit) {
    errno = 0;
    const int way = access == Access::readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    const int code = sqlite3_open_v2(
        path_.c_str(), &handle_, way | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    if (code != SQLITE_OK) {
        // Even a connection that could not be opened has to be closed, after it was asked why.
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> closed(handle_, &sqlite3_close);
        throw error(code);
    }
    sqlite3_busy_timeout(handle_, static_cast<int>(busyLimit_.count()));
}

SqliteDatabase::~SqliteDatabase() {
    sqlite3_close_v2(handle_);
}

void SqliteDatabase::run(const std::string& sql) {
    errno = 0;
    const int code = sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) throw error(code);
}

bool SqliteDatabase::tryToRun(const char* sql, std::chrono::milliseconds limit) noexcept {
    sqlite3_busy_timeout(handle_, static_cast<int>(limit.count()));
    const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(handle_, static_cast<int>(busyLimit_.count()));
    return code == SQLITE_OK;
}

std::int64_t SqliteDatabase::integer(std::string_view sql) {
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.integer(0) : 0;
}

bool SqliteDatabase::isInTransaction() const {
    return sqlite3_get_autocommit(handle_) == 0;
}

void SqliteDatabase::leaveLogOnClose() {
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool SqliteDatabase::takeForItself() {
    run("PRAGMA locking_mode = EXCLUSIVE");
    const int code = sqlite3_exec(handle_, "BEGIN EXCLUSIVE; ROLLBACK", nullptr, nullptr, nullptr);
    if (code == SQLITE_OK) return true;
    if ((code & 0xff) == SQLITE_BUSY || (code & 0xff) == SQLITE_LOCKED) return false;
    throw error(code);
}

void SqliteDatabase::copyTo(const std::string& path) {
    SqliteDatabase copy(path, busyLimit_);
    sqlite3_backup* const backup = sqlite3_backup_init(copy.handle_, "main", handle_, "main");
    if (backup == nullptr) throw copy.error(sqlite3_extended_errcode(copy.handle_));
    // All pages in one step, under one read lock: other programs may write meanwhile, unseen.
    const int stepped = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    if (stepped != SQLITE_DONE) {
        // The copy reports its own failures, a full disk for one; the rest is the original's.
        throw finished != SQLITE_OK && sqlite3_errcode(copy.handle_) == finished
            ? copy.error(finished)
            : error(stepped);
    }
    copy.run("PRAGMA journal_mode = DELETE");
}

bool SqliteDatabase::isReadOnly() const {
    return sqlite3_db_readonly(handle_, "main") == 1;
}

void SqliteDatabase::checkpoint() noexcept {
    sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void SqliteDatabase::leaveLogAlone() {
    const auto note = [](void* pages, sqlite3*, const char*, int count) {
        *static_cast<int*>(pages) = count;
        return SQLITE_OK;
    };
    // Takes the place of the hook that makes the automatic checkpoints.
    sqlite3_wal_hook(handle_, note, &logPages_);
}

bool SqliteDatabase::emptyLog() noexcept {
    return sqlite3_wal_checkpoint_v2(
               handle_, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) == SQLITE_OK;
}

int SqliteDatabase::takeLogPages() {
    return std::exchange(logPages_, 0);
}

PlatformError SqliteDatabase::error(int code) const {
    const int systemError = systemErrorOf(code);
    std::string detail = handle_ != nullptr ? sqlite3_errmsg(handle_) : sqlite3_errstr(code);
    if (systemError != 0) detail += ": " + systemReason(systemError);
    return {errorDomain::sqlite,
            code,
            ErrorDictionary({{std::string(errorKey::localizedDescription),
                              sentence(path_, code, detail, systemError)},
                             {std::string(errorKey::filePath), path_},
                             {std::string(errorKey::debugDescription), detail}})};
}

}  // namespace kelto
