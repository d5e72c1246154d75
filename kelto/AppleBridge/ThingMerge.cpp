#include "kelto/AppleBridge/ThingMerge.hpp"

#include <utility>
#include <vector>

#include "kelto/AppleBridge/ConflictPreservation.hpp"
#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/MergedTimes.hpp"

namespace kelto {

namespace {

FileFacts incomingFacts(const Record& record, const std::optional<Payload>& data) {
    return {record.string(RecordKey::kind),
            record.string(RecordKey::title),
            record.string(RecordKey::content),
            record.string(RecordKey::urlString),
            record.string(RecordKey::fileName),
            record.optionalDate(RecordKey::trashedAt),
            data};
}

}  // namespace

ThingMerge::ThingMerge(ModelContext& context,
                       LibraryIndex& index,
                       AssetReader& assets,
                       MergeNotes& notes,
                       MergeCounts& counts,
                       bool isRehearsal)
    : context_(context),
      index_(index),
      assets_(assets),
      notes_(notes),
      counts_(counts),
      isRehearsal_(isRehearsal) {}

void ThingMerge::update(Thing& thing, const Record& record, MergeDecision& decision) {
    // Before any decision: a path that leads out of the folder fails even a record that would lose.
    auto incomingData = asset(record, RecordKey::data);
    const auto payload =
        incomingData ? std::optional(incomingData->payload()) : std::optional<Payload>();
    const MergeReason reason = reasonFor(thing, record, payload);
    decision.reason = reason;
    if (isRehearsal_) noteGrounds(thing, record, payload, decision);
    if (isPassedOver(reason)) {
        ++counts_.kept;
        return;
    }
    if (reason == MergeReason::bothChanged) {
        const std::size_t things = index_.things.size();
        preserveConflict(thing, fileFingerprint(thing), index_.things, context_);
        counts_.conflicts += index_.things.size() - things;
    }
    ++counts_.applied;
    apply(thing, record, std::move(incomingData));
}

MergeReason ThingMerge::reasonFor(const Thing& thing,
                                  const Record& record,
                                  const std::optional<Payload>& incomingData) {
    if (thing.state() == ModelObject::State::inserted) return MergeReason::isNew;

    const auto base = record.optionalString(RecordKey::baseFileFingerprint);
    if (!base || !linkedProjects_.isLinked(thing)) {
        return thing.updatedAt() <= record.date(RecordKey::updatedAt)
                   ? MergeReason::recordIsNotOlder
                   : MergeReason::storedIsLater;
    }
    const FileFacts facts = incomingFacts(record, incomingData);
    // Equal files have equal fingerprints, whatever they are: the frequent case needs no digest.
    if (facts == FileFacts::of(thing)) return MergeReason::sameFile;
    if (facts.trashed) checkTime(*facts.trashed, isRehearsal_);  // it goes into the fingerprint
    const std::string stored = fileFingerprint(thing);
    const std::string incoming = fileFingerprint(facts);
    if (stored == incoming) return MergeReason::sameFile;
    if (incoming == *base) return MergeReason::onlyStoreChanged;
    return stored == *base ? MergeReason::onlyHostChanged : MergeReason::bothChanged;
}

void ThingMerge::noteGrounds(const Thing& thing,
                             const Record& record,
                             const std::optional<Payload>& incomingData,
                             MergeDecision& decision) const {
    if (decision.reason == MergeReason::isNew) return;
    decision.storedTime = thing.updatedAt();
    decision.recordTime = record.date(RecordKey::updatedAt);
    if (decision.reason == MergeReason::recordIsNotOlder ||
        decision.reason == MergeReason::storedIsLater) {
        return;
    }
    decision.base = record.string(RecordKey::baseFileFingerprint);
    decision.stored = fileFingerprint(thing);
    decision.incoming = fileFingerprint(incomingFacts(record, incomingData));
    if (decision.reason != MergeReason::bothChanged) return;
    decision.copy = conflictIdentifier(thing.uuid(), decision.stored);
    decision.isCopyNew = !index_.things.contains(*decision.copy);
}

void ThingMerge::apply(Thing& thing,
                       const Record& record,
                       std::optional<IncomingFile> incomingData) {
    thing.setKindRaw(record.string(RecordKey::kind));
    thing.setTitle(record.string(RecordKey::title));
    thing.setSubtitle(record.string(RecordKey::subtitle));
    thing.setContent(record.string(RecordKey::content));
    thing.setNote(record.string(RecordKey::note));
    thing.setUrlString(record.string(RecordKey::urlString));
    thing.setFileName(record.string(RecordKey::fileName));
    thing.setTypeIdentifier(record.string(RecordKey::typeIdentifier));
    thing.setFileSize(record.integer(RecordKey::fileSize));
    thing.setAspectRatio(record.number(RecordKey::aspectRatio, 1.0));
    thing.setIsStarred(record.boolean(RecordKey::isStarred));
    thing.setTrashedAt(record.optionalDate(RecordKey::trashedAt));
    thing.setCreatedAt(record.date(RecordKey::createdAt));
    thing.setUpdatedAt(record.date(RecordKey::updatedAt));
    thing.setMetadataJSON(record.string(RecordKey::metadataJson));
    std::vector<Tag*> tags;
    for (const Uuid& identifier : record.identifiers(RecordKey::tags)) {
        if (Tag* const tag = index_.tags.find(identifier)) tags.push_back(tag);
    }
    thing.setTags(tags);
    thing.setProject(index_.projectNamed(record.optionalUUID(RecordKey::project)));
    thing.setData(kept(thing.data(), std::move(incomingData)));
    thing.setThumbnailData(kept(thing.thumbnailData(), asset(record, RecordKey::thumbnail)));
    thing.setIconData(kept(thing.iconData(), asset(record, RecordKey::icon)));
}

std::optional<IncomingFile> ThingMerge::asset(const Record& record, RecordKey key) {
    auto file = assets_.asset(record, key);
    if (file) notes_.add(*file);
    return file;
}

std::optional<Payload> ThingMerge::kept(const std::optional<Payload>& stored,
                                        std::optional<IncomingFile> incoming) {
    if (!incoming) return std::nullopt;
    return assets_.keep(*incoming, stored);
}

}  // namespace kelto
