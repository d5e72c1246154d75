#include "benchmarks/FloorStore.hpp"

#include <charconv>
#include <chrono>
#include <cstring>
#include <fstream>
#include <span>

#include "kelto/foundation/Uuid.hpp"

namespace kelto::bench {

namespace {

std::string withTable(const std::string& path) {
    std::ofstream(path).flush();
    SqliteDatabase database(path, std::chrono::milliseconds(1000));
    database.run("PRAGMA journal_mode = WAL");
    std::string table = "CREATE TABLE IF NOT EXISTS record (id INTEGER PRIMARY KEY";
    for (const std::string_view name : floorColumnNames) table += ", " + std::string(name);
    database.run(table + ")");
    return path;
}

std::string putStatement() {
    std::string sql = "INSERT OR REPLACE INTO record VALUES (?";
    for (std::size_t i = 0; i < floorColumnNames.size(); ++i) sql += ", ?";
    return sql + ")";
}

bool holdsInteger(std::string_view token) {
    return token.find_first_of(".eE") == std::string_view::npos;
}

}  // namespace

FloorStore::FloorStore(const std::string& path)
    : database_(withTable(path), std::chrono::milliseconds(1000)), put_(database_, putStatement()) {
    database_.run("PRAGMA synchronous = FULL");
    // Copying the log back can be left for an idle moment.
    database_.run("PRAGMA wal_autocheckpoint = 0");
}

void FloorStore::begin() {
    database_.run("BEGIN IMMEDIATE");
}

void FloorStore::put(std::size_t id, const FloorRecord& record, const Digest* payload) {
    put_.integer(0, static_cast<std::int64_t>(id));
    for (std::size_t i = 0; i < floorColumnNames.size(); ++i) {
        bind(static_cast<int>(i) + 1, record, static_cast<FloorColumn>(i));
    }
    const int data = static_cast<int>(FloorColumn::data) + 1;
    if (payload != nullptr) {
        put_.blob(data, std::as_bytes(std::span(payload->bytes)));
    } else {
        put_.null(data);
    }
    put_.run();
}

void FloorStore::bind(int parameter, const FloorRecord& record, FloorColumn column) {
    const FloorValue& value = record[column];
    switch (column) {
        case FloorColumn::uuid:
        case FloorColumn::project:
        case FloorColumn::parent:
            return bindIdentifier(parameter, value);
        case FloorColumn::tags:
            return bindTags(parameter, record);
        default:
            break;
    }
    if (value.kind == FloorValue::Kind::none) return put_.null(parameter);
    if (value.kind == FloorValue::Kind::text) return put_.text(parameter, value.text);
    const char* const end = value.text.data() + value.text.size();
    if (holdsInteger(value.text)) {
        std::int64_t integer = 0;
        std::from_chars(value.text.data(), end, integer);
        put_.integer(parameter, integer);
    } else {
        double real = 0;
        std::from_chars(value.text.data(), end, real);
        put_.real(parameter, real);
    }
}

void FloorStore::bindIdentifier(int parameter, const FloorValue& value) {
    const auto uuid = Uuid::parse(value.text);
    if (!uuid) return put_.null(parameter);
    auto& bytes = identifiers_[static_cast<std::size_t>(parameter - 1)];
    bytes = uuid->bytes;
    put_.blob(parameter, std::as_bytes(std::span(bytes)));
}

void FloorStore::bindTags(int parameter, const FloorRecord& record) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < record.tagCount; ++i) {
        const auto uuid = Uuid::parse(record.tags[i]);
        if (!uuid) continue;
        std::memcpy(tags_.data() + size, uuid->bytes.data(), uuid->bytes.size());
        size += uuid->bytes.size();
    }
    put_.blob(parameter, std::as_bytes(std::span(tags_)).first(size));
}

void FloorStore::commit() {
    database_.run("COMMIT");
}

void FloorStore::settle() {
    static_cast<void>(database_.integer("PRAGMA wal_checkpoint(TRUNCATE)"));
}

}  // namespace kelto::bench
