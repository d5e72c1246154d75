#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Why the merge did with a record what it did.
enum class MergeReason : std::uint8_t {
    isNew,             ///< The store held nothing of that identifier: the record makes it.
    isJustMade,        ///< Applied: an earlier record of the same request has made the item.
    hostAlwaysWins,    ///< Projects and tags have no versions: what the host says holds.
    recordIsNotOlder,  ///< Applied: the stored item was not changed later than the record.
    storedIsLater,     ///< Passed over: the stored item was changed later than the record.
    sameFile,          ///< Applied: both sides hold the same file, whatever it was based on.
    onlyHostChanged,   ///< Applied: the stored file is the one that the host's is based on.
    onlyStoreChanged,  ///< Passed over: the host's file is the one that it is based on.
    bothChanged,       ///< Applied, and what was stored is kept as a copy.
    deletedByHost,     ///< Deleted.
    unknownToDelete,   ///< A deletion of what the store does not hold: nothing.
};

[[nodiscard]] constexpr bool isPassedOver(MergeReason reason) {
    return reason == MergeReason::storedIsLater || reason == MergeReason::onlyStoreChanged;
}

/// What the merge has decided about one record, and by what.
struct MergeDecision {
    std::size_t record = 0;  ///< Its place among the request's records.
    RecordType type = RecordType::thing;
    Uuid identifier;
    std::string name;  ///< The record's title or name; of a deletion the stored one.
    MergeReason reason = MergeReason::isNew;
    /// Whether anything of the stored object became another.
    bool changesObject = false;
    std::optional<Date> storedTime;  ///< When it was changed last, of a stored thing.
    std::optional<Date> recordTime;  ///< The same by the record.
    /// The three fingerprints, where they decided.
    std::string base;
    std::string stored;
    std::string incoming;
    /// Of the copy that keeps what was stored; `isCopyNew` unless it was kept before.
    std::optional<Uuid> copy;
    bool isCopyNew = false;
};

/// Is told what a merge does, record by record, while it does it.
class MergeObserver {
public:
    virtual ~MergeObserver() = default;
    /// The merge turns to that record; to none for what concerns the whole library. What it throws
    /// from here on is about that.
    virtual void looksAt(std::optional<std::size_t> record) = 0;
    virtual void decided(const MergeDecision& decision) = 0;
};

}  // namespace kelto
