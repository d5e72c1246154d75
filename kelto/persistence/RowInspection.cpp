#include "kelto/persistence/RowInspection.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/persistence/DatabaseInspection.hpp"
#include "kelto/persistence/RowList.hpp"
#include "kelto/persistence/SqliteStatements.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

/// Goes over the rows of one entity once, and remembers what only all of them together tell.
class RowInspection {
public:
    RowInspection(const EntityDescription& entity, SqliteDatabase& database, StoreReport& report)
        : entity_(entity), database_(database), report_(report) {}

    void run() {
        loadTargets();
        SqliteStatement select(database_, sql::selectRows(entity_));
        select.integer(0, std::numeric_limits<std::int64_t>::min());
        select.integer(1, std::numeric_limits<std::int64_t>::max());
        while (select.step()) inspect(select);
        findCycles();
    }

private:
    using Rows = std::unordered_set<std::int64_t>;

    /// The numbers of the rows that list columns may name.
    void loadTargets() {
        for (const RelationshipDescription& relationship : entity_.relationships) {
            if (relationship.storage != RelationshipStorage::listColumn) continue;
            Rows& rows = targets_[&relationship];
            SqliteStatement select(
                database_, R"(SELECT "id" FROM ")" + std::string(relationship.destination) + '"');
            while (select.step()) rows.insert(select.integer(0));
        }
    }

    void inspect(SqliteStatement& row) {
        const std::int64_t id = row.integer(0);
        int column = 1;
        for (const AttributeDescription& attribute : entity_.attributes) {
            inspectValue(attribute, id, row, column++);
        }
        for (const RelationshipDescription& relationship : entity_.relationships) {
            if (relationship.storage == RelationshipStorage::inverse) continue;
            if (relationship.storage == RelationshipStorage::listColumn) {
                inspectList(relationship, id, row.text(column));
            } else if (relationship.destination == entity_.name && !row.isNull(column)) {
                parents_[&relationship][id] = row.integer(column);
            }
            ++column;
        }
    }

    void inspectValue(const AttributeDescription& attribute,
                      std::int64_t id,
                      SqliteStatement& row,
                      int column) {
        if (row.isNull(column)) return;  // where that may not be, the database's own check says so
        switch (attribute.type) {
            case AttributeType::uuid:
                inspectIdentifier(attribute, id, row.blob(column));
                return;
            case AttributeType::date:
                if (Date{row.real(column)}.representableMilliseconds()) return;
                add(Kind::unreadableValue,
                    id,
                    attribute.name,
                    "has a date beyond all calendars (" + std::string(attribute.name) +
                        "): no program opens the store");
                return;
            case AttributeType::real:
                if (std::isfinite(row.real(column))) return;
                add(Kind::unreadableValue,
                    id,
                    attribute.name,
                    "has a number without a value (" + std::string(attribute.name) +
                        "): it cannot be sent");
                return;
            case AttributeType::text:
                if (isWellFormedUtf8(row.text(column))) return;
                add(Kind::unreadableValue,
                    id,
                    attribute.name,
                    "has a text (" + std::string(attribute.name) +
                        ") that is not UTF-8: it is shown with marks in it");
                return;
            case AttributeType::integer:
            case AttributeType::boolean:
            case AttributeType::payload:
                return;
        }
    }

    void inspectIdentifier(const AttributeDescription& attribute, std::int64_t id, Bytes bytes) {
        Uuid uuid;
        if (bytes.size() != uuid.bytes.size()) {
            add(Kind::unreadableValue,
                id,
                attribute.name,
                "has no readable identifier: no program opens the store");
            return;
        }
        std::memcpy(uuid.bytes.data(), bytes.data(), bytes.size());
        const auto [first, isNew] = identifiers_.try_emplace(uuid, id);
        if (isNew) return;
        add(Kind::duplicate,
            id,
            attribute.name,
            "has the identifier of an older one (row " + std::to_string(first->second) +
                "): no program exchanges until one of them has another");
    }

    void inspectList(const RelationshipDescription& relationship,
                     std::int64_t id,
                     std::string_view list) {
        std::vector<std::int64_t> rows;
        try {
            rows = rowsOf(list);
        } catch (const PlatformError&) {
            add(Kind::illFormedList,
                id,
                relationship.name,
                "has a list (" + std::string(relationship.name) +
                    ") that cannot be read: no program opens the store");
            return;
        }
        const Rows& there = targets_[&relationship];
        const auto missing = std::count_if(
            rows.begin(), rows.end(), [&](std::int64_t one) { return !there.contains(one); });
        const bool isRepeated = Rows(rows.begin(), rows.end()).size() != rows.size();
        if (missing == 0 && !isRepeated) return;
        const std::string what = lowerCased(relationship.destination);
        add(Kind::missingListTarget,
            id,
            relationship.name,
            missing != 0 ? "has a " + what + " that is not there: no program opens the store"
                         : "has the same " + what + " twice");
    }

    /// Follows each row upward once; a row that was met in the same walk closes a cycle.
    void findCycles() {
        for (const auto& [relationship, parents] : parents_) {
            std::unordered_map<std::int64_t, std::int64_t> walks;  // the row it was first met from
            for (const auto& [start, ignored] : parents) {
                std::int64_t row = start;
                while (!walks.contains(row)) {
                    walks[row] = start;
                    const auto next = parents.find(row);
                    if (next == parents.end()) break;
                    row = next->second;
                    if (walks.contains(row) && walks[row] == start) addCycle(*relationship, row);
                }
            }
        }
    }

    void addCycle(const RelationshipDescription& relationship, std::int64_t start) {
        const auto& parents = parents_[&relationship];
        std::int64_t youngest = start;
        for (std::int64_t row = parents.at(start); row != start; row = parents.at(row)) {
            youngest = std::max(youngest, row);
        }
        add(Kind::cycle,
            youngest,
            relationship.name,
            "lies in itself, perhaps by way of others: no program exchanges");
    }

    void add(Kind kind, std::int64_t row, std::string_view column, const std::string& what) {
        report_.findings.push_back(
            {.kind = kind,
             .sentence = "The " + spokenRow(entity_, database_, row) + " " + what + ".",
             .entity = std::string(entity_.name),
             .row = row,
             .column = std::string(column)});
    }

    const EntityDescription& entity_;
    SqliteDatabase& database_;
    StoreReport& report_;
    std::unordered_map<const RelationshipDescription*, Rows> targets_;
    std::unordered_map<Uuid, std::int64_t> identifiers_;
    std::unordered_map<const RelationshipDescription*,
                       std::unordered_map<std::int64_t, std::int64_t>>
        parents_;
};

}  // namespace

void inspectRows(const EntityDescription& entity, SqliteDatabase& database, StoreReport& report) {
    RowInspection(entity, database, report).run();
}

}  // namespace kelto
