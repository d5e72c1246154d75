#include "kelto/persistence/RowRepair.hpp"

#include <cmath>
#include <span>
#include <unordered_set>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/persistence/RowList.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/SqliteStore.hpp"

namespace kelto {

namespace {

using sql::quoted;

}  // namespace

RowRepair::RowRepair(const Schema& schema, SqliteDatabase& database, Clock& clock, Random& random)
    : schema_(schema), database_(database), clock_(clock), random_(random) {}

bool RowRepair::addPart(const StoreFinding& finding) {
    SqliteDatabase fresh(":memory:", SqliteStore::busyLimit);
    for (const std::string& statement : sql::createStore(schema_)) fresh.run(statement);
    SqliteStatement part(fresh, "SELECT sql FROM sqlite_schema WHERE name = ?");
    part.text(0, finding.column);
    if (!part.step()) return false;
    database_.run(std::string(part.text(0)));
    return true;
}

bool RowRepair::raiseNumber(const StoreFinding& finding) {
    const std::string last = "(SELECT max(\"id\") FROM " + quoted(finding.entity) + ")";
    SqliteStatement remove(database_, "DELETE FROM sqlite_sequence WHERE name = ?");
    remove.text(0, finding.entity);
    remove.run();
    SqliteStatement insert(database_,
                           "INSERT INTO sqlite_sequence (name, seq) VALUES (?, " + last + ")");
    insert.text(0, finding.entity);
    insert.run();
    return true;
}

bool RowRepair::rebuildIndexes() {
    // What the indexes say is wrong is in the tables, which stay as they are.
    database_.run("REINDEX");
    return true;
}

bool RowRepair::mendList(const StoreFinding& finding) {
    const EntityDescription* entity = findEntity(finding.entity);
    if (entity == nullptr) return false;
    for (const RelationshipDescription& relationship : entity->relationships) {
        if (relationship.name != finding.column) continue;
        SqliteStatement select(database_,
                               "SELECT " + quoted(finding.column) + " FROM " +
                                   quoted(finding.entity) + " WHERE \"id\" = ?");
        select.integer(0, finding.row);
        if (!select.step()) return false;
        std::vector<std::int64_t> rows;
        try {
            rows = rowsOf(select.text(0));
        } catch (const PlatformError&) {
            rows.clear();  // none of it can be told
        }
        select.reset();
        std::string list;
        std::unordered_set<std::int64_t> seen;
        for (const std::int64_t row : rows) {
            const bool isThere =
                database_.integer("SELECT count(*) FROM " + quoted(relationship.destination) +
                                  " WHERE \"id\" = " + std::to_string(row)) != 0;
            if (!isThere || !seen.insert(row).second) continue;
            list += (list.empty() ? "" : ",") + std::to_string(row);
        }
        writeDown(finding.entity, finding.row, finding.column);
        SqliteStatement update = change(finding);
        update.copiedText(0, "[" + list + "]");
        update.integer(1, finding.row);
        update.run();
        return true;
    }
    return false;
}

bool RowRepair::openCycle(const StoreFinding& finding) {
    SqliteStatement parent(database_,
                           "SELECT " + quoted(finding.column) + " FROM " + quoted(finding.entity) +
                               " WHERE \"id\" = ? AND " + quoted(finding.column) + " NOT NULL");
    std::unordered_set<std::int64_t> walked;
    std::int64_t row = finding.row;
    while (walked.insert(row).second) {
        const StatementUse use(parent);
        parent.integer(0, row);
        if (!parent.step()) return false;  // somebody has moved it
        row = parent.integer(0);
    }
    return row == finding.row && clear(finding);
}

bool RowRepair::renumberDuplicate(const StoreFinding& finding) {
    const std::string column = quoted(finding.column);
    const std::string table = quoted(finding.entity);
    SqliteStatement value(database_, "SELECT " + column + " FROM " + table + " WHERE \"id\" = ?");
    value.integer(0, finding.row);
    if (!value.step()) return false;
    const auto& oldest = oldestRows(finding);
    const auto older = oldest.find(std::string(textOf(value.blob(0))));
    if (older == oldest.end() || older->second >= finding.row) return false;
    value.reset();
    writeDown(finding.entity, finding.row, finding.column);
    const Uuid uuid = random_.uuid();
    SqliteStatement update = change(finding);
    update.blob(0, std::as_bytes(std::span(uuid.bytes)));
    update.integer(1, finding.row);
    update.run();
    return true;
}

const RowRepair::OldestRows& RowRepair::oldestRows(const StoreFinding& finding) {
    const auto [place, isNew] = oldestRows_.try_emplace(finding.entity + "." + finding.column);
    if (!isNew) return place->second;
    // One look for all: a library may hold every item twice, no index leads to an identifier, and
    // nobody can write meanwhile. The oldest one keeps its identifier, so it stays the oldest.
    const std::string column = quoted(finding.column);
    SqliteStatement select(database_,
                           "SELECT " + column + ", min(\"id\") FROM " + quoted(finding.entity) +
                               " GROUP BY " + column + " HAVING count(*) > 1");
    while (select.step()) place->second.emplace(textOf(select.blob(0)), select.integer(1));
    return place->second;
}

bool RowRepair::mendValue(const StoreFinding& finding) {
    const AttributeDescription* attribute = findAttribute(finding);
    if (attribute == nullptr) return false;
    writeDown(finding.entity, finding.row, finding.column);
    SqliteStatement update = change(finding);
    std::string text;
    const Uuid uuid = random_.uuid();
    switch (attribute->type) {
        case AttributeType::uuid:
            update.blob(0, std::as_bytes(std::span(uuid.bytes)));
            break;
        case AttributeType::date:
            update.real(0, std::floor(clock_.now().secondsSince1970));
            break;
        case AttributeType::real:
            update.real(0, 1.0);
            break;
        case AttributeType::text: {
            SqliteStatement select(database_,
                                   "SELECT " + quoted(finding.column) + " FROM " +
                                       quoted(finding.entity) + " WHERE \"id\" = ?");
            select.integer(0, finding.row);
            if (!select.step()) return false;
            text = repairedUtf8(select.text(0));
            update.text(0, text);
            break;
        }
        case AttributeType::integer:
        case AttributeType::boolean:
        case AttributeType::payload:
            return false;
    }
    update.integer(1, finding.row);
    update.run();
    return true;
}

bool RowRepair::clear(const StoreFinding& finding) {
    writeDown(finding.entity, finding.row, finding.column);
    SqliteStatement update = change(finding);
    update.null(0);
    update.integer(1, finding.row);
    update.run();
    return true;
}

const EntityDescription* RowRepair::findEntity(const std::string& name) const {
    for (const EntityDescription* entity : schema_.entities) {
        if (entity->name == name) return entity;
    }
    return nullptr;
}

const AttributeDescription* RowRepair::findAttribute(const StoreFinding& finding) const {
    const EntityDescription* entity = findEntity(finding.entity);
    if (entity == nullptr) return nullptr;
    for (const AttributeDescription& attribute : entity->attributes) {
        if (attribute.name == finding.column) return &attribute;
    }
    return nullptr;
}

void RowRepair::writeDown(const std::string& entity, std::int64_t row, const std::string& column) {
    SqliteStatement select(
        database_,
        "SELECT quote(" + quoted(column) + ") FROM " + quoted(entity) + " WHERE \"id\" = ?");
    select.integer(0, row);
    if (!select.step()) return;
    written_.emplace_back(JsonMembers{{"entity", entity},
                                      {"row", row},
                                      {"column", column},
                                      {"was", repairedUtf8(select.text(0))}});
}

SqliteStatement RowRepair::change(const StoreFinding& finding) {
    return {database_,
            "UPDATE " + quoted(finding.entity) + " SET " + quoted(finding.column) +
                " = ? WHERE \"id\" = ?"};
}

}  // namespace kelto
