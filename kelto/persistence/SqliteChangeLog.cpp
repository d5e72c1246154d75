#include "kelto/persistence/SqliteChangeLog.hpp"

#include <algorithm>
#include <tuple>

namespace kelto {

namespace {

void keepEachOnce(std::vector<StoredRow>& rows) {
    std::sort(rows.begin(), rows.end(), [](const StoredRow& left, const StoredRow& right) {
        return std::tie(left.entity->name, left.row) < std::tie(right.entity->name, right.row);
    });
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
}

}  // namespace

SqliteChangeLog::SqliteChangeLog(const Schema& schema, SqliteDatabase& database)
    : schema_(schema),
      lastEntry_(database, R"(SELECT "seq" FROM sqlite_sequence WHERE "name" = 'Change')"),
      firstEntry_(database, R"(SELECT min("id") FROM "Change")"),
      select_(database, R"(SELECT "entity", "row" FROM "Change" WHERE "id" > ?)"),
      remove_(database, R"(DELETE FROM "Change" WHERE "id" <= ?)") {}

std::int64_t SqliteChangeLog::lastEntry() {
    const StatementUse use(lastEntry_);
    return lastEntry_.step() ? lastEntry_.integer(0) : 0;
}

ForeignChanges SqliteChangeLog::news() {
    const std::int64_t last = lastEntry();
    ForeignChanges changes;
    // A list that is shorter than it was is not the one that we know.
    if (seen_ && *seen_ <= last && last - *seen_ <= mostEntries) {
        changes = entriesBetween(*seen_, last);
    }
    seen_ = last;
    return changes;
}

ForeignChanges SqliteChangeLog::entriesBetween(std::int64_t seen, std::int64_t last) {
    ForeignChanges changes{ForeignChanges::Extent::listed, {}};
    const StatementUse use(select_);
    select_.integer(0, seen);
    while (select_.step()) {
        const EntityDescription* const changed = entity(select_.text(0));
        if (changed == nullptr) return {};
        changes.rows.push_back({changed, select_.integer(1)});
    }
    // Entries are numbered without a gap: where one is missing, it was pruned, or taken by
    // somebody.
    if (static_cast<std::int64_t>(changes.rows.size()) != last - seen) return {};
    keepEachOnce(changes.rows);
    return changes;
}

const EntityDescription* SqliteChangeLog::entity(std::string_view name) const {
    for (const EntityDescription* entity : schema_.entities) {
        if (entity->name == name) return entity;
    }
    return nullptr;
}

void SqliteChangeLog::prune() {
    noted_ = lastEntry();
    const StatementUse use(firstEntry_);
    if (!firstEntry_.step() || noted_ - firstEntry_.integer(0) < mostEntries) return;
    remove_.integer(0, noted_ - mostEntries / 2);
    remove_.run();
}

}  // namespace kelto
