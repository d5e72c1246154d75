#pragma once

#include <cstdint>
#include <optional>

#include "kelto/persistence/PersistentStore.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"

namespace kelto {

/// The list of the rows that were changed or deleted lately, in the order of the changes. Triggers
/// write it, so that the changes of any program are in it. All of it happens within the
/// transactions of the store.
class SqliteChangeLog {
public:
    /// With more entries than this, the older half of them goes at a commit. Reading so many
    /// changes one by one costs about what reading a small library as a whole does.
    static constexpr std::int64_t mostEntries = 8192;

    SqliteChangeLog(const Schema& schema, SqliteDatabase& database);

    /// What was noted since the last call, or since committed().
    [[nodiscard]] ForeignChanges news();
    /// Before a commit: keeps the list short.
    void prune();
    /// After it: what it has noted is no news.
    void committed() noexcept { seen_ = noted_; }

private:
    /// The number of the last entry that was ever made; 0 when none was.
    [[nodiscard]] std::int64_t lastEntry();
    [[nodiscard]] const EntityDescription* entity(std::string_view name) const;
    [[nodiscard]] ForeignChanges entriesBetween(std::int64_t seen, std::int64_t last);

    const Schema& schema_;
    SqliteStatement lastEntry_;
    SqliteStatement firstEntry_;
    SqliteStatement select_;
    SqliteStatement remove_;
    std::optional<std::int64_t> seen_;  // the last entry that is no news
    std::int64_t noted_ = 0;            // the last entry before the commit under way
};

}  // namespace kelto
