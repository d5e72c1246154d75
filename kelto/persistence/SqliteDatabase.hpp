#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/Row.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace kelto {

class SqliteDatabase;

/// A prepared statement, used over and over: bind, then step. Parameters and columns count from 0.
class SqliteStatement final : public RowReader, public RowWriter {
public:
    SqliteStatement(SqliteDatabase& database, std::string_view sql);
    ~SqliteStatement() override;
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    void null(int parameter) override;
    void integer(int parameter, std::int64_t value) override;
    void real(int parameter, double value) override;
    void text(int parameter, std::string_view value) override;
    void blob(int parameter, Bytes value) override;
    /// A text that need not outlive the call.
    void copiedText(int parameter, const std::string& value);

    /// True when a row stands ready; false at the end, which also makes the statement ready for its
    /// next use.
    [[nodiscard]] bool step();
    /// For a statement without rows: runs it to its end.
    void run();
    /// Ends a use before the last row. A statement that is not reset keeps its lock.
    void reset() noexcept;

    [[nodiscard]] bool isNull(int column) override;
    [[nodiscard]] std::int64_t integer(int column) override;
    [[nodiscard]] double real(int column) override;
    [[nodiscard]] std::string_view text(int column) override;
    [[nodiscard]] Bytes blob(int column) override;

private:
    SqliteDatabase& database_;
    sqlite3_stmt* statement_ = nullptr;
};

/// One connection to one database file, for one thread at a time. Every failure is a PlatformError
/// that names the file and what the database says.
class SqliteDatabase {
public:
    enum class Access : std::uint8_t { readWrite, readOnly };

    /// Opens an existing file. `busyLimit` is how long another writer is waited for.
    SqliteDatabase(std::string path,
                   std::chrono::milliseconds busyLimit,
                   Access access = Access::readWrite);
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    /// Runs statements that give no rows.
    void run(const std::string& sql);
    /// The same, but it waits at most `limit` for another writer, and answers whether it succeeded.
    [[nodiscard]] bool tryToRun(const char* sql, std::chrono::milliseconds limit) noexcept;
    /// The first column of the first row, an integer; 0 when there is no row.
    [[nodiscard]] std::int64_t integer(std::string_view sql);
    [[nodiscard]] bool isInTransaction() const;
    /// Where a file cannot be opened for writing, SQLite opens it for reading instead, without a
    /// word, and there the connection stays.
    [[nodiscard]] bool isReadOnly() const;

    /// Closing does not copy the log into the database, nor remove it: for whoever only looks.
    void leaveLogOnClose();
    /// Takes the file for this connection alone, until it is closed; false when anybody else has it
    /// open, even if at rest. Before anything else is done with the connection.
    [[nodiscard]] bool takeForItself();
    /// Writes the database as it is at this moment, page by page, log included, over the database
    /// at `path`, which has to be there and may be empty. Needs no log itself afterwards.
    void copyTo(const std::string& path);

    /// Copies the write-ahead log into the database as far as nobody is in the way, waiting for
    /// nobody. What cannot be copied stays in the log.
    void checkpoint() noexcept;
    /// The same for a log that nobody else is using at the moment; its file is empty afterwards.
    /// Answers whether that came about.
    bool emptyLog() noexcept;
    /// From now on no commit of this connection does so by itself.
    void leaveLogAlone();
    /// How many pages the log had after the last commit that wrote something; 0 when there was none
    /// since the last call.
    [[nodiscard]] int takeLogPages();
    [[nodiscard]] const std::string& path() const { return path_; }
    /// The failure that the connection reports now, as an error to throw.
    [[nodiscard]] PlatformError error(int code) const;

private:
    friend class SqliteStatement;

    std::string path_;
    std::chrono::milliseconds busyLimit_;
    sqlite3* handle_ = nullptr;
    int logPages_ = 0;
};

/// Ends the use of a statement at the end of a scope, however it is left.
class StatementUse {
public:
    explicit StatementUse(SqliteStatement& statement) : statement_(statement) {}
    ~StatementUse() { statement_.reset(); }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    SqliteStatement& statement_;
};

}  // namespace kelto
