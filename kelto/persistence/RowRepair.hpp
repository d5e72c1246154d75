#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "kelto/foundation/Json.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Mends what lies in the tables of a store, within a transaction of the caller's. Each step
/// answers false when there was nothing to do any more, and throws PlatformError when it cannot be
/// done.
class RowRepair {
public:
    RowRepair(const Schema& schema, SqliteDatabase& database, Clock& clock, Random& random);

    bool addPart(const StoreFinding& finding);
    bool raiseNumber(const StoreFinding& finding);
    bool rebuildIndexes();
    bool mendList(const StoreFinding& finding);
    bool openCycle(const StoreFinding& finding);
    bool renumberDuplicate(const StoreFinding& finding);
    bool mendValue(const StoreFinding& finding);
    /// Lets a row go without what its column names.
    bool clear(const StoreFinding& finding);

    /// Writes down what a value is, before it is changed.
    void writeDown(const std::string& entity, std::int64_t row, const std::string& column);
    /// The values that were written down so far.
    [[nodiscard]] const JsonElements& written() const { return written_; }

    [[nodiscard]] const AttributeDescription* findAttribute(const StoreFinding& finding) const;

private:
    [[nodiscard]] const EntityDescription* findEntity(const std::string& name) const;
    /// A statement that changes the value of a column (parameter 0) in a row (parameter 1).
    [[nodiscard]] SqliteStatement change(const StoreFinding& finding);
    /// For each value of the finding's column that stands in several rows the oldest of these.
    using OldestRows = std::unordered_map<std::string, std::int64_t>;
    [[nodiscard]] const OldestRows& oldestRows(const StoreFinding& finding);

    const Schema& schema_;
    SqliteDatabase& database_;
    Clock& clock_;
    Random& random_;
    JsonElements written_;
    std::unordered_map<std::string, OldestRows> oldestRows_;  // by entity and column
};

}  // namespace kelto
