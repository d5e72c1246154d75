#pragma once

#include <optional>

#include "kelto/AppleBridge/AssetReader.hpp"
#include "kelto/AppleBridge/LibraryIndex.hpp"
#include "kelto/AppleBridge/LinkedProjects.hpp"
#include "kelto/AppleBridge/MergeCounts.hpp"
#include "kelto/AppleBridge/MergeNotes.hpp"
#include "kelto/AppleBridge/MergeObserver.hpp"
#include "kelto/AppleBridge/Record.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"

namespace kelto {

/// Merges a record into the thing of its identifier: the later of the two wins or, in linked
/// folders, the one whose file has changed; where both have, what was stored is kept as a copy.
class ThingMerge {
public:
    /// Everything is borrowed. In a rehearsal decisions are told with what they went by.
    ThingMerge(ModelContext& context,
               LibraryIndex& index,
               AssetReader& assets,
               MergeNotes& notes,
               MergeCounts& counts,
               bool isRehearsal);

    void update(Thing& thing, const Record& record, MergeDecision& decision);
    /// To be called when a project's link owner or parent has changed.
    void forgetLinks() { linkedProjects_.forget(); }

private:
    /// Which side wins, and why.
    [[nodiscard]] MergeReason reasonFor(const Thing& thing,
                                        const Record& record,
                                        const std::optional<Payload>& incomingData);
    /// What the reason went by, before anything is applied.
    void noteGrounds(const Thing& thing,
                     const Record& record,
                     const std::optional<Payload>& incomingData,
                     MergeDecision& decision) const;
    void apply(Thing& thing, const Record& record, std::optional<IncomingFile> incomingData);
    [[nodiscard]] std::optional<IncomingFile> asset(const Record& record, RecordKey key);
    [[nodiscard]] std::optional<Payload> kept(const std::optional<Payload>& stored,
                                              std::optional<IncomingFile> incoming);

    ModelContext& context_;
    LibraryIndex& index_;
    LinkedProjects linkedProjects_;
    AssetReader& assets_;
    MergeNotes& notes_;
    MergeCounts& counts_;
    bool isRehearsal_;
};

}  // namespace kelto
