#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/PayloadStorage.hpp"
#include "kelto/persistence/Row.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// What one save writes. Every object stands in at most one of the lists.
struct ChangeSet {
    std::vector<const ModelObject*> inserted;
    std::vector<const ModelObject*> changed;
    std::vector<const ModelObject*> deleted;
    /// Payloads that may have lost their last owner.
    std::vector<Payload> releasedPayloads;
};

/// The name of a row.
struct StoredRow {
    const EntityDescription* entity;
    std::int64_t row;

    friend bool operator==(const StoredRow&, const StoredRow&) = default;
};

/// Row numbers from the first to the last, both included.
struct RowRange {
    std::int64_t first;
    std::int64_t last;
};

/// What others have committed to a store.
struct ForeignChanges {
    enum class Extent {
        none,
        listed,   ///< Each row that was changed or deleted is listed; new rows are behind all
                  ///< others.
        unknown,  ///< Anything may be different.
    };
    Extent extent = Extent::unknown;
    std::vector<StoredRow> rows;  ///< Each once. New rows may be among them.
};

/// Rows in, rows out. Other processes may use the same store; a unit of work keeps them from
/// writing from its begin to its end, so that what was read is still true when the changes are
/// written. Every failure is a PlatformError that names the store.
class PersistentStore {
public:
    virtual ~PersistentStore() = default;

    /// Starts a unit of work. Waits for another writer, but not for ever; on failure none has
    /// begun. Answers what others have committed since the last begin(): of that, the first one
    /// knows nothing. A rollback alone is no change.
    [[nodiscard]] virtual ForeignChanges begin() = 0;
    /// The same for a unit of work that writes nothing and ends with rollback(). It waits for
    /// nobody and nobody for it: others may write meanwhile, and what they write is not seen. But
    /// the bytes of a payload that they delete may be gone (damagedStore()).
    [[nodiscard]] virtual ForeignChanges beginReading() = 0;
    /// Rows of an entity in the order of their creation; `row` is the row's number, column i of
    /// the reader is attribute i, and after the attributes come the relationships that are stored
    /// as columns, in their order of declaration: to-one null or the other row's number, to-many
    /// the text of a row list.
    virtual void load(const EntityDescription& entity,
                      const RowRange& rows,
                      const std::function<void(std::int64_t row, RowReader& values)>& sink) = 0;
    /// The highest row number that was ever given out for an entity; 0 when none was.
    [[nodiscard]] virtual std::int64_t lastRow(const EntityDescription& entity) = 0;

    /// Writes the changes in one step, durably, and ends the unit of work. On failure the store is
    /// as it was before, and the unit of work has ended.
    virtual void commit(const ChangeSet& changes) = 0;
    /// Ends the unit of work without a change. Without one under way it does nothing.
    virtual void rollback() noexcept = 0;

    [[nodiscard]] virtual PayloadStorage& payloads() = 0;
};

}  // namespace kelto
