#include "kelto/persistence/SqliteStatements.hpp"

#include <utility>

#include "kelto/persistence/FileIdentities.hpp"

namespace kelto::sql {

std::string quoted(std::string_view identifier) {
    return '"' + std::string(identifier) + '"';
}

namespace {

constexpr std::string_view digestsColumn = "digests";

std::string columnType(const AttributeDescription& attribute) {
    const std::string name = quoted(attribute.name);
    const std::string required = attribute.isOptional ? "" : " NOT NULL";
    switch (attribute.type) {
        case AttributeType::uuid:
            return "BLOB" + required + " CHECK (length(" + name + ") = 16)";
        case AttributeType::text:
            return "TEXT" + required;
        case AttributeType::integer:
            return "INTEGER" + required;
        case AttributeType::real:
        case AttributeType::date:
            return "REAL" + required;
        case AttributeType::boolean:
            return "INTEGER" + required + " CHECK (" + name + " IN (0, 1))";
        case AttributeType::payload:
            return "BLOB" + required +
                   " REFERENCES \"Payload\"(\"digest\") DEFERRABLE INITIALLY DEFERRED";
    }
    return "";
}

std::string columnType(const RelationshipDescription& relationship) {
    if (relationship.storage == RelationshipStorage::listColumn) {
        return "TEXT NOT NULL DEFAULT '[]'";
    }
    return "INTEGER REFERENCES " + quoted(relationship.destination) +
           "(\"id\") DEFERRABLE INITIALLY DEFERRED";
}

/// The columns that follow the id, in the order in which all statements use them.
std::vector<std::string> columns(const EntityDescription& entity) {
    std::vector<std::string> names;
    for (const AttributeDescription& attribute : entity.attributes) {
        names.push_back(quoted(attribute.name));
    }
    for (const RelationshipDescription& relationship : entity.relationships) {
        if (relationship.storage != RelationshipStorage::inverse) {
            names.push_back(quoted(relationship.name));
        }
    }
    if (entity.keepsDigests) names.push_back(quoted(digestsColumn));
    return names;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string text;
    for (const std::string& part : parts) {
        if (!text.empty()) text += separator;
        text += part;
    }
    return text;
}

std::string createTable(const EntityDescription& entity) {
    std::vector<std::string> definitions{"\"id\" INTEGER PRIMARY KEY AUTOINCREMENT"};
    for (const AttributeDescription& attribute : entity.attributes) {
        definitions.push_back(quoted(attribute.name) + " " + columnType(attribute));
    }
    for (const RelationshipDescription& relationship : entity.relationships) {
        if (relationship.storage == RelationshipStorage::inverse) continue;
        definitions.push_back(quoted(relationship.name) + " " + columnType(relationship));
    }
    if (entity.keepsDigests) definitions.push_back(quoted(digestsColumn) + " BLOB");
    return "CREATE TABLE " + quoted(entity.name) + " (" + joined(definitions, ", ") + ") STRICT";
}

/// An index for each column that points at another table: without it, deleting the row at its other
/// end would read the whole table.
void addIndexes(const EntityDescription& entity, std::vector<std::string>& statements) {
    const auto add = [&](std::string_view name, bool isOptional) {
        const std::string index = quoted(std::string(entity.name) + "_" + std::string(name));
        statements.push_back("CREATE INDEX " + index + " ON " + quoted(entity.name) + "(" +
                             quoted(name) + ")" +
                             (isOptional ? " WHERE " + quoted(name) + " IS NOT NULL" : ""));
    };
    for (const AttributeDescription& attribute : entity.attributes) {
        if (attribute.type == AttributeType::payload) add(attribute.name, true);
    }
    for (const RelationshipDescription& relationship : entity.relationships) {
        if (relationship.storage == RelationshipStorage::column) add(relationship.name, true);
    }
}

/// True in SQL when no row of any entity names the payload.
std::string payloadIsUnused(const Schema& schema) {
    std::vector<std::string> conditions;
    for (const EntityDescription* entity : schema.entities) {
        for (const AttributeDescription& attribute : entity->attributes) {
            if (attribute.type != AttributeType::payload) continue;
            conditions.push_back("NOT EXISTS (SELECT 1 FROM " + quoted(entity->name) + " WHERE " +
                                 quoted(attribute.name) + " = \"Payload\".\"digest\")");
        }
    }
    return joined(conditions, " AND ");
}

}  // namespace

std::vector<std::string> createStore(const Schema& schema) {
    std::vector<std::string> statements{
        "CREATE TABLE \"Payload\" (\"id\" INTEGER PRIMARY KEY, \"digest\" BLOB NOT NULL UNIQUE "
        "CHECK (length(\"digest\") = 32), \"size\" INTEGER NOT NULL, \"bytes\" BLOB) STRICT"};
    for (const EntityDescription* entity : schema.entities) {
        statements.push_back(createTable(*entity));
        addIndexes(*entity, statements);
    }
    statements.emplace_back(FileIdentities::createTable);
    statements.emplace_back(createChangeLog());
    for (const EntityDescription* entity : schema.entities) {
        for (std::string& trigger : createChangeTriggers(entity->name)) {
            statements.push_back(std::move(trigger));
        }
    }
    return statements;
}

std::string createChangeLog() {
    return R"(CREATE TABLE "Change" ("id" INTEGER PRIMARY KEY AUTOINCREMENT, )"
           R"("entity" TEXT NOT NULL, "row" INTEGER NOT NULL) STRICT)";
}

std::vector<std::string> createChangeTriggers(std::string_view table) {
    const auto trigger = [&](std::string_view name, std::string_view event, std::string_view row) {
        return "CREATE TRIGGER " + quoted(std::string(table) + "_" + std::string(name)) +
               " AFTER " + std::string(event) + " ON " + quoted(table) +
               " BEGIN INSERT INTO \"Change\" (\"entity\", \"row\") VALUES ('" +
               std::string(table) + "', " + std::string(row) + ".\"id\"); END";
    };
    return {trigger("updated", "UPDATE", "OLD"),
            trigger("renumbered", "UPDATE OF \"id\"", "NEW"),
            trigger("deleted", "DELETE", "OLD")};
}

std::string selectRows(const EntityDescription& entity) {
    return "SELECT \"id\", " + joined(columns(entity), ", ") + " FROM " + quoted(entity.name) +
           " WHERE \"id\" BETWEEN ? AND ? ORDER BY \"id\"";
}

std::string insertRow(const EntityDescription& entity) {
    const std::vector<std::string> names = columns(entity);
    const std::vector<std::string> marks(names.size() + 1, "?");
    return "INSERT INTO " + quoted(entity.name) + " (\"id\", " + joined(names, ", ") +
           ") VALUES (" + joined(marks, ", ") + ")";
}

std::string updateRow(const EntityDescription& entity) {
    return "UPDATE " + quoted(entity.name) + " SET " + joined(columns(entity), " = ?, ") +
           " = ? WHERE \"id\" = ?";
}

std::string deleteRow(const EntityDescription& entity) {
    return "DELETE FROM " + quoted(entity.name) + " WHERE \"id\" = ?";
}

std::string selectUnusedPayloads(const Schema& schema) {
    return "SELECT \"digest\", \"size\", \"bytes\" IS NULL FROM \"Payload\" WHERE " +
           payloadIsUnused(schema);
}

std::string deleteUnusedPayload(const Schema& schema) {
    return "DELETE FROM \"Payload\" WHERE \"digest\" = ? AND " + payloadIsUnused(schema) +
           " RETURNING \"bytes\" IS NULL";
}

}  // namespace kelto::sql
