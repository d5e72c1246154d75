#include "benchmarks/RowScan.hpp"

#include <memory>
#include <stdexcept>
#include <vector>

#include <sqlite3.h>

namespace kelto::bench {

namespace {

using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;
using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

constexpr const char* recordTables =
    "SELECT name FROM sqlite_master WHERE type = 'table' AND (name IN ('Project', 'Tag', 'Thing') "
    "OR name GLOB 'Project_*' OR name GLOB 'Tag_*' OR name GLOB 'Thing_*')";

Statement prepared(sqlite3* database, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error(std::string("the store cannot be scanned: ") +
                                 sqlite3_errmsg(database));
    }
    return {statement, sqlite3_finalize};
}

/// Looks at every column, as one must to make anything of the row.
std::size_t lookAt(sqlite3_stmt* row) {
    std::size_t sum = 0;
    const int columns = sqlite3_column_count(row);
    for (int i = 0; i < columns; ++i) {
        switch (sqlite3_column_type(row, i)) {
            case SQLITE_INTEGER:
                sum += static_cast<std::size_t>(sqlite3_column_int64(row, i));
                break;
            case SQLITE_FLOAT:
                sum += sqlite3_column_double(row, i) > 0 ? 1 : 0;
                break;
            case SQLITE_NULL:
                break;
            default:
                sum += sqlite3_column_blob(row, i) == nullptr ? 0 : 1;
                sum += static_cast<std::size_t>(sqlite3_column_bytes(row, i));
        }
    }
    return sum;
}

}  // namespace

Milliseconds scanRows(const std::string& storePath) {
    const auto start = Clock::now();
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(
        storePath.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    const Connection connection(handle, sqlite3_close);
    if (code != SQLITE_OK) throw std::runtime_error("the store cannot be opened for a scan");

    std::vector<std::string> tables;
    for (const Statement names = prepared(handle, recordTables);
         sqlite3_step(names.get()) == SQLITE_ROW;) {
        tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(names.get(), 0)));
    }
    std::size_t seen = 0;
    for (const std::string& table : tables) {
        const Statement rows = prepared(handle, "SELECT * FROM \"" + table + "\"");
        while (sqlite3_step(rows.get()) == SQLITE_ROW) seen += lookAt(rows.get());
    }
    if (seen == 0) throw std::runtime_error("the scan found no records");
    return Clock::now() - start;
}

}  // namespace kelto::bench
