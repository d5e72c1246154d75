#include "kelto/persistence/DatabaseInspection.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <span>

#include "kelto/foundation/Text.hpp"
#include "kelto/persistence/RowInspection.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

/// More complaints of the database about itself than this tell nobody anything new.
constexpr int mostComplaints = 20;

/// Runs one look; what cannot be read is a finding, and the next look goes on.
template <typename Look>
void looking(StoreReport& report, const std::string& at, Look look) {
    try {
        look();
    } catch (const PlatformError& error) {
        report.findings.push_back(
            {.kind = Kind::damagedDatabase,
             .sentence = at + " cannot be read to the end: " + error.localizedDescription()});
    }
}

void inspectStructure(SqliteDatabase& database, StoreReport& report) {
    SqliteStatement check(database,
                          "PRAGMA integrity_check(" + std::to_string(mostComplaints) + ")");
    while (check.step()) {
        const std::string words(check.text(0));
        if (words == "ok") continue;
        report.findings.push_back(
            {.kind = Kind::damagedDatabase,
             .sentence =
                 "The database is damaged, and may give wrong answers or none: " + words + "."});
    }
}

/// The parts of a store of this format, by name, as they are made for an empty one.
std::map<std::string, std::string> partsOf(SqliteDatabase& database) {
    std::map<std::string, std::string> parts;
    SqliteStatement select(database,
                           "SELECT name, type FROM sqlite_schema WHERE name NOT LIKE 'sqlite_%'");
    while (select.step()) parts.emplace(select.text(0), select.text(1));
    return parts;
}

void inspectParts(const Schema& schema, SqliteDatabase& database, StoreReport& report) {
    SqliteDatabase fresh(":memory:", SqliteStore::busyLimit);
    for (const std::string& statement : sql::createStore(schema)) fresh.run(statement);
    const auto found = partsOf(database);
    for (const auto& [name, type] : partsOf(fresh)) {
        if (found.contains(name)) continue;
        const std::string meaning =
            type == "table"     ? "what was in it is lost, and no program opens the store"
            : type == "trigger" ? "other programs would not see what changes"
                                : "deleting becomes slow";
        report.findings.push_back({.kind = Kind::missingPart,
                                   .sentence = std::string("The ")
                                                   .append(type)
                                                   .append(" “")
                                                   .append(name)
                                                   .append("” of the database is missing: ")
                                                   .append(meaning)
                                                   .append("."),
                                   .column = name});
    }
}

std::optional<Digest> digestIn(Bytes bytes) {
    Digest digest;
    if (bytes.size() != digest.bytes.size()) return std::nullopt;
    std::transform(bytes.begin(), bytes.end(), digest.bytes.begin(), [](std::byte byte) {
        return std::to_integer<std::uint8_t>(byte);
    });
    return digest;
}

/// What a row may be called by, of those columns that the entity has.
std::string nameColumn(const EntityDescription& entity) {
    for (const AttributeDescription& attribute : entity.attributes) {
        if (attribute.name == "title" || attribute.name == "name") {
            return '"' + std::string(attribute.name) + '"';
        }
    }
    return "''";
}

std::string spoken(const EntityDescription& entity, SqliteStatement& row) {
    constexpr std::size_t shown = 40;
    const std::string name = repairedUtf8(row.text(2));
    const std::string_view cut = graphemePrefix(firstNonEmptyLine(name), shown);
    std::string text = lowerCased(entity.name);
    if (!cut.empty()) text += " “" + std::string(cut) + (cut.size() < name.size() ? "…”" : "”");
    Uuid uuid;
    const Bytes bytes = row.blob(1);
    if (bytes.size() != uuid.bytes.size())
        return text + " (row " + std::to_string(row.integer(0)) + ")";
    std::transform(bytes.begin(), bytes.end(), uuid.bytes.begin(), [](std::byte byte) {
        return std::to_integer<std::uint8_t>(byte);
    });
    return text + " (" + uuid.lowerCaseText().substr(0, 8) + ")";
}

std::string selectSpoken(const EntityDescription& entity, const std::string& condition) {
    return R"(SELECT "id", "uuid", )" + nameColumn(entity) + R"( FROM ")" +
           std::string(entity.name) + R"(" WHERE )" + condition;
}

void inspectReferences(const Schema& schema, SqliteDatabase& database, StoreReport& report) {
    SqliteStatement check(database, "PRAGMA foreign_key_check");
    while (check.step()) {
        const std::string table(check.text(0));
        const std::int64_t row = check.integer(1);
        const std::string target(check.text(2));
        SqliteStatement keys(database,
                             R"(SELECT "from" FROM pragma_foreign_key_list(?) WHERE "id" = ?)");
        keys.copiedText(0, table);
        keys.integer(1, check.integer(3));
        const std::string column = keys.step() ? std::string(keys.text(0)) : "";
        keys.reset();
        const auto entity = std::find_if(schema.entities.begin(),
                                         schema.entities.end(),
                                         [&](const auto* one) { return one->name == table; });
        const std::string what = entity == schema.entities.end()
                                     ? table + " " + std::to_string(row)
                                     : spokenRow(**entity, database, row);
        const std::string means =
            target == "Payload"
                ? "names bytes (" + column +
                      ") that are not there: they are lost, and an exchange that needs them fails"
                : "lies in a " + lowerCased(target) +
                      " that is not there: no program opens the store";
        report.findings.push_back(
            {.kind = Kind::missingTarget,
             .sentence = std::string("The ").append(what).append(" ").append(means) + ".",
             .entity = table,
             .row = row,
             .column = column});
    }
}

void inspectNumbers(const EntityDescription& entity,
                    SqliteDatabase& database,
                    StoreReport& report) {
    const std::string name(entity.name);
    const std::int64_t last = database.integer(R"(SELECT max("id") FROM ")" + name + '"');
    const std::int64_t given =
        database.integer("SELECT \"seq\" FROM sqlite_sequence WHERE \"name\" = '" + name + "'");
    if (given >= last) return;
    report.findings.push_back(
        {.kind = Kind::usedNumber,
         .sentence = "The next new " + lowerCased(name) +
                     " would get a number that is in use: nothing new could be saved.",
         .entity = name});
}

void inspectPayloadRow(const Schema& schema,
                       SqliteDatabase& database,
                       SqliteStatement& row,
                       StoreReport& report) {
    const auto found = digestIn(row.blob(0));
    if (!found) return;  // the database's own check has named it
    const Digest& digest = *found;
    const auto size = static_cast<std::uint64_t>(row.integer(1));
    ++report.payloads;
    report.payloadBytes += size;
    if (row.isNull(2)) {
        report.files.push_back({digest, size});
        return;
    }
    const Bytes bytes = row.blob(2);
    if (bytes.size() == size && sha256(bytes) == digest) return;
    report.findings.push_back(
        {.kind = Kind::damagedPayload,
         .sentence = "The bytes of " + ownersOf(schema, database, digest) +
                     " in the database are not what was stored: an exchange that needs them fails.",
         .digest = digest});
}

void inspectPayloads(const Schema& schema, SqliteDatabase& database, StoreReport& report) {
    SqliteStatement select(database, R"(SELECT "digest", "size", "bytes" FROM "Payload")");
    while (select.step()) inspectPayloadRow(schema, database, select, report);
}

void inspectUnusedPayloads(const Schema& schema, SqliteDatabase& database, StoreReport& report) {
    SqliteStatement select(database, sql::selectUnusedPayloads(schema));
    while (select.step()) {
        const auto digest = digestIn(select.blob(0));
        if (!digest) continue;
        report.findings.push_back({.kind = Kind::unusedPayload,
                                   .sentence = "A payload of " + std::to_string(select.integer(1)) +
                                               " bytes belongs to no item; it only takes up space.",
                                   .digest = digest});
    }
}

}  // namespace

std::string spokenRow(const EntityDescription& entity, SqliteDatabase& database, std::int64_t row) {
    try {
        SqliteStatement select(database, selectSpoken(entity, R"("id" = ?)"));
        select.integer(0, row);
        if (select.step()) return spoken(entity, select);
    } catch (const PlatformError&) {
        // Damaged: its number has to do.
    }
    return lowerCased(entity.name) + " in row " + std::to_string(row);
}

std::string ownersOf(const Schema& schema, SqliteDatabase& database, const Digest& digest) {
    std::string first;
    std::size_t count = 0;
    for (const EntityDescription* entity : schema.entities) {
        std::string condition;
        for (const AttributeDescription& attribute : entity->attributes) {
            if (attribute.type != AttributeType::payload) continue;
            condition +=
                (condition.empty() ? "\"" : " OR \"") + std::string(attribute.name) + "\" = ?1";
        }
        if (condition.empty()) continue;
        SqliteStatement select(database, selectSpoken(*entity, condition));
        select.blob(0, std::as_bytes(std::span(digest.bytes)));
        while (select.step()) {
            if (count++ == 0) first = spoken(*entity, select);
        }
    }
    if (count == 0) return "no item";
    if (count == 1) return first;
    return first + " and " + std::to_string(count - 1) + " more";
}

std::vector<StoredFile> payloadFilesOf(SqliteDatabase& database) {
    SqliteStatement select(
        database, R"(SELECT "digest", "size" FROM "Payload" WHERE "bytes" IS NULL ORDER BY "id")");
    std::vector<StoredFile> files;
    while (select.step()) {
        const auto digest = digestIn(select.blob(0));
        if (digest) files.push_back({*digest, static_cast<std::uint64_t>(select.integer(1))});
    }
    return files;
}

void inspectDatabase(const Schema& schema, SqliteDatabase& database, StoreReport& report) {
    looking(report, "The database", [&] { inspectStructure(database, report); });
    const std::int64_t format = database.integer("PRAGMA user_version");
    if (format < SqliteStore::formatVersion) {
        report.notes.push_back("The store is of the earlier format " + std::to_string(format) +
                               "; the next program that opens it brings it up to date. Only what "
                               "both formats have was looked at.");
    } else {
        looking(report, "The list of tables", [&] { inspectParts(schema, database, report); });
    }
    looking(report, "What rows refer to", [&] { inspectReferences(schema, database, report); });
    looking(report, "The table of payloads", [&] { inspectPayloads(schema, database, report); });
    looking(report, "What the payloads belong to", [&] {
        inspectUnusedPayloads(schema, database, report);
    });
    for (const EntityDescription* entity : schema.entities) {
        const std::string table = "The table “" + std::string(entity->name) + "”";
        looking(report, table, [&] {
            report.rows.emplace_back(
                entity->name,
                database.integer(R"(SELECT count(*) FROM ")" + std::string(entity->name) + '"'));
            inspectNumbers(*entity, database, report);
            if (format == SqliteStore::formatVersion) inspectRows(*entity, database, report);
        });
    }
}

}  // namespace kelto
