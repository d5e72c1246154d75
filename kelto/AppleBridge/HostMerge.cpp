#include "kelto/AppleBridge/HostMerge.hpp"

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ConflictPreservation.hpp"
#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/ProjectCycles.hpp"
#include "kelto/AppleBridge/WireTimestamp.hpp"

namespace kelto {

namespace {

Uuid identifierOf(const Record& record) {
    if (record.seen() != nullptr) return record.seen()->identifier;
    if (const auto identifier = record.optionalUUID(RecordKey::uuid)) return *identifier;
    throw BridgeError(BridgeRefusal::invalidIdentifier);
}

RecordType typeOf(const Record& record) {
    if (record.seen() != nullptr) return record.seen()->type;
    const std::string_view type = record.string(RecordKey::recordType);
    if (type == "Project") return RecordType::project;
    if (type == "Tag") return RecordType::tag;
    if (type == "Thing") return RecordType::thing;
    throw BridgeError(BridgeRefusal::unknownRecordType);
}

/// Only live records are remembered.
bool isDeletion(const Record& record) {
    return record.seen() == nullptr && record.boolean(RecordKey::deleted);
}

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

HostMerge::HostMerge(ModelContext& context,
                     const ExchangeRequest& request,
                     FileSystem& files,
                     LibraryIndex& index,
                     MergeObserver* observer)
    : context_(context),
      request_(request),
      index_(index),
      assets_(files, context.payloads(), request.directory()),
      observer_(observer) {}

void HostMerge::begin() {
    index_.begin(context_);
    remembersObjects_ = request_.memory() != nullptr &&
                        request_.memory()->populationNumber == context_.populationNumber();
}

void HostMerge::merge() {
    createMissing();
    const std::uint64_t structure = index_.structureNumber();
    updateFields();
    deleteRecords();
    if (index_.structureNumber() != structure) notes_.unsettle();
    lookAt(nullptr);
    checkCycles();
    checkTimestamps();
}

std::unique_ptr<RequestMemory> HostMerge::save() {
    context_.save();
    index_.agree(context_);
    auto memory = notes_.take();
    memory->populationNumber = context_.populationNumber();
    memory->structureNumber = index_.structureNumber();
    return memory;
}

// First all objects, then their fields: a record may refer to one that stands later in the list.
void HostMerge::createMissing() {
    notes_.reserve(request_.records().size());
    for (const Record& record : request_.records()) {
        if (isDeletion(record)) continue;
        lookAt(&record);
        if (record.seen() != nullptr) ++recognised_;
        SeenRecord note;
        note.text = record.text();
        note.identifier = identifierOf(record);
        note.type = typeOf(record);
        note.object = &objectOf(record, note);
        notes_.add(note);
    }
}

ModelObject& HostMerge::objectOf(const Record& record, const SeenRecord& note) {
    if (remembersObjects_ && record.seen() != nullptr && record.seen()->object != nullptr) {
        return *record.seen()->object;
    }
    switch (note.type) {
        case RecordType::project:
            return findOrCreate(index_.projects, note.identifier, "", nullptr);
        case RecordType::tag:
            return findOrCreate(index_.tags, note.identifier, "");
        case RecordType::thing:
            break;
    }
    return findOrCreate(index_.things, note.identifier, ThingKind::note, "");
}

template <typename Model, typename... Arguments>
Model& HostMerge::findOrCreate(UniqueIndex<Model>& index,
                               const Uuid& identifier,
                               Arguments&&... arguments) {
    const auto [place, isNew] = index.try_emplace(identifier, nullptr);
    if (!isNew) return *place->second;
    place->second = &context_.insert<Model>(std::forward<Arguments>(arguments)...);
    place->second->setUuid(identifier);
    ++counts_.created;
    if constexpr (!std::is_same_v<Model, Thing>) index_.noteChangedStructure();
    return *place->second;
}

void HostMerge::updateFields() {
    std::size_t place = 0;
    for (const Record& record : request_.records()) {
        if (isDeletion(record)) continue;
        fetchAhead(place);
        SeenRecord& note = notes_.at(place++);
        if (isSettled(record, note)) {
            notes_.repeat(note, *record.seen(), *request_.memory());
            ++counts_.skipped;
            continue;
        }
        notes_.begin(note);
        if (observer_ == nullptr) {
            updateObject(*note.object, note.type, record);
        } else {
            updateObserved(note, record);
        }
        notes_.settle();
    }
}

void HostMerge::updateObject(ModelObject& object, RecordType type, const Record& record) {
    switch (type) {
        case RecordType::project:
            return updateProject(static_cast<Project&>(object), record);
        case RecordType::tag:
            return updateTag(static_cast<Tag&>(object), record);
        case RecordType::thing:
            return updateThing(static_cast<Thing&>(object), record);
    }
}

void HostMerge::updateObserved(const SeenRecord& note, const Record& record) {
    lookAt(&record);
    const bool isThing = note.type == RecordType::thing;
    decision_ = {};
    decision_.record = static_cast<std::size_t>(&record - request_.records().data());
    decision_.type = note.type;
    decision_.identifier = note.identifier;
    decision_.name = record.string(isThing ? RecordKey::title : RecordKey::name);
    const bool isNew = note.object->state() == ModelObject::State::inserted;
    decision_.reason = isNew ? MergeReason::isNew : MergeReason::hostAlwaysWins;
    const std::uint64_t change = note.object->changeNumber();
    updateObject(*note.object, note.type, record);
    decision_.changesObject = isNew || note.object->changeNumber() != change;
    observer_->decided(decision_);
}

void HostMerge::lookAt(const Record* record) const {
    if (observer_ == nullptr) return;
    if (record == nullptr) return observer_->looksAt(std::nullopt);
    observer_->looksAt(static_cast<std::size_t>(record - request_.records().data()));
}

void HostMerge::fetchAhead(std::size_t place) {
    const SeenRecord* const object = notes_.find(place + objectsAhead);
    if (object == nullptr || object->type != RecordType::thing) return;
    // Of what is recognised, the number of the last change is mostly all that is looked at.
    if (recognised_ > 0) return __builtin_prefetch(object->object);
    fetchObject(static_cast<const Thing&>(*object->object));
    const SeenRecord& texts = notes_.at(place + textsAhead);
    if (texts.type == RecordType::thing) fetchTexts(static_cast<const Thing&>(*texts.object));
}

bool HostMerge::isSettled(const Record& record, const SeenRecord& note) {
    const SeenRecord* const before = record.seen();
    if (before == nullptr || !before->isSettled) return false;
    const RequestMemory& memory = *request_.memory();
    if (memory.structureNumber != index_.structureNumber()) return false;
    if (note.object->changeNumber() != before->changeNumber) return false;
    if (before->fileCount == 0) return true;
    for (std::size_t i = before->firstFile; i < before->firstFile + before->fileCount; ++i) {
        if (!assets_.isUnchanged(statusOfFile(i), memory.files[i].payload)) return false;
    }
    return true;
}

std::optional<FileStatus> HostMerge::statusOfFile(std::size_t number) {
    const RequestMemory& memory = *request_.memory();
    // Where most of the request is as it was, all of its files are asked for at once.
    const bool isMostlyKnown = recognised_ * 2 > memory.records.size();
    if (!isMostlyKnown) return assets_.look(memory, memory.files[number]);
    if (fileStatuses_.empty()) fileStatuses_ = assets_.lookAtAll(memory);
    return fileStatuses_[number];
}

void HostMerge::updateProject(Project& project, const Record& record) {
    ++counts_.applied;
    project.setName(record.string(RecordKey::name));
    project.setSortOrder(record.integer(RecordKey::sortOrder));
    project.setCreatedAt(record.date(RecordKey::createdAt));
    // A host that knows nothing of linked folders leaves the key out, and the link as it is.
    const std::string_view owner =
        record.optionalString(RecordKey::linkedFolderOwner).value_or(project.linkedFolderOwner());
    Project* const parent = projectNamed(record.optionalUUID(RecordKey::parent));
    if (owner == project.linkedFolderOwner() && parent == project.parent()) return;
    project.setLinkedFolderOwner(owner);
    project.setParent(parent);
    linkedProjects_.forget();
    index_.noteChangedStructure();
}

void HostMerge::updateTag(Tag& tag, const Record& record) {
    ++counts_.applied;
    tag.setName(record.string(RecordKey::name));
    tag.setCreatedAt(record.date(RecordKey::createdAt));
}

void HostMerge::updateThing(Thing& thing, const Record& record) {
    // Before any decision: a path that leads out of the folder fails even a record that would lose.
    auto incomingData = asset(record, RecordKey::data);
    const auto payload =
        incomingData ? std::optional(incomingData->payload()) : std::optional<Payload>();
    const MergeReason reason = reasonFor(thing, record, payload);
    decision_.reason = reason;
    if (observer_ != nullptr) noteGrounds(thing, record, payload);
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

MergeReason HostMerge::reasonFor(const Thing& thing,
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
    if (facts.trashed) checkTimestamp(*facts.trashed);  // it goes into the fingerprint
    const std::string stored = fileFingerprint(thing);
    const std::string incoming = fileFingerprint(facts);
    if (stored == incoming) return MergeReason::sameFile;
    if (incoming == *base) return MergeReason::onlyStoreChanged;
    return stored == *base ? MergeReason::onlyHostChanged : MergeReason::bothChanged;
}

void HostMerge::noteGrounds(const Thing& thing,
                            const Record& record,
                            const std::optional<Payload>& incomingData) {
    if (decision_.reason == MergeReason::isNew) return;
    decision_.storedTime = thing.updatedAt();
    decision_.recordTime = record.date(RecordKey::updatedAt);
    if (decision_.reason == MergeReason::recordIsNotOlder ||
        decision_.reason == MergeReason::storedIsLater) {
        return;
    }
    decision_.base = record.string(RecordKey::baseFileFingerprint);
    decision_.stored = fileFingerprint(thing);
    decision_.incoming = fileFingerprint(incomingFacts(record, incomingData));
    if (decision_.reason != MergeReason::bothChanged) return;
    decision_.copy = conflictIdentifier(thing.uuid(), decision_.stored);
    decision_.isCopyNew = !index_.things.contains(*decision_.copy);
}

void HostMerge::apply(Thing& thing,
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
        if (const auto tag = index_.tags.find(identifier); tag != index_.tags.end()) {
            tags.push_back(tag->second);
        }
    }
    thing.setTags(tags);
    thing.setProject(projectNamed(record.optionalUUID(RecordKey::project)));
    thing.setData(kept(thing.data(), std::move(incomingData)));
    thing.setThumbnailData(kept(thing.thumbnailData(), asset(record, RecordKey::thumbnail)));
    thing.setIconData(kept(thing.iconData(), asset(record, RecordKey::icon)));
}

std::optional<IncomingFile> HostMerge::asset(const Record& record, RecordKey key) {
    auto file = assets_.asset(record, key);
    if (file) notes_.add(*file);
    return file;
}

std::optional<Payload> HostMerge::kept(const std::optional<Payload>& stored,
                                       std::optional<IncomingFile> incoming) {
    if (!incoming) return std::nullopt;
    return assets_.keep(*incoming, stored);
}

Project* HostMerge::projectNamed(const std::optional<Uuid>& identifier) const {
    if (!identifier) return nullptr;
    const auto project = index_.projects.find(*identifier);
    return project == index_.projects.end() ? nullptr : project->second;
}

void HostMerge::deleteRecords() {
    bool hasDeleted = false;
    for (const Record& record : request_.records()) {
        if (!isDeletion(record)) continue;
        hasDeleted = true;
        lookAt(&record);
        const Uuid identifier = identifierOf(record);
        const RecordType type = typeOf(record);
        const ModelObject* deleted = deleteObject(type, identifier);
        if (observer_ != nullptr) tellDeletion(record, type, deleted);
    }
    if (hasDeleted) notes_.forgetDeleted();
}

const ModelObject* HostMerge::deleteObject(RecordType type, const Uuid& identifier) {
    switch (type) {
        case RecordType::project: {
            Project* project = taken(index_.projects, identifier);
            if (project != nullptr) deleteProject(*project);
            return project;
        }
        case RecordType::tag: {
            Tag* tag = taken(index_.tags, identifier);
            if (tag != nullptr) context_.remove(*tag);
            return tag;
        }
        case RecordType::thing:
            break;
    }
    Thing* thing = taken(index_.things, identifier);
    if (thing != nullptr) context_.remove(*thing);
    return thing;
}

void HostMerge::tellDeletion(const Record& record,
                             RecordType type,
                             const ModelObject* object) const {
    MergeDecision decision;
    decision.record = static_cast<std::size_t>(&record - request_.records().data());
    decision.type = type;
    decision.identifier = identifierOf(record);
    decision.reason = object == nullptr ? MergeReason::unknownToDelete : MergeReason::deletedByHost;
    decision.changesObject = object != nullptr;
    // Deleted objects stay readable until the save.
    if (object != nullptr && type == RecordType::project) {
        decision.name = static_cast<const Project*>(object)->name();
    } else if (object != nullptr && type == RecordType::tag) {
        decision.name = static_cast<const Tag*>(object)->name();
    } else if (object != nullptr) {
        decision.name = static_cast<const Thing*>(object)->title();
        decision.storedTime = static_cast<const Thing*>(object)->updatedAt();
    }
    observer_->decided(decision);
}

template <typename Model>
Model* HostMerge::taken(UniqueIndex<Model>& index, const Uuid& identifier) {
    const auto node = index.extract(identifier);
    if (node.empty()) return nullptr;
    ++counts_.deleted;
    if constexpr (!std::is_same_v<Model, Thing>) index_.noteChangedStructure();
    return node.mapped();
}

void HostMerge::deleteProject(Project& project) {
    // Only this project goes: what lies in it moves to the top level instead of going with it.
    const std::vector<Project*> children = project.children().list();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        (*child)->setParent(nullptr);
    }
    context_.remove(project);
}

void HostMerge::checkCycles() {
    if (index_.isKnownAcyclic()) return;
    std::vector<const Project*> projects;
    projects.reserve(index_.projects.size());
    for (const auto& [identifier, project] : index_.projects) projects.push_back(project);
    if (hasProjectCycle(projects)) throw BridgeError(BridgeRefusal::projectCycle);
    index_.noteAcyclic();
}

/// A moment that could not be written back would stop the process at every later exchange, so it
/// stops it now, while the store is still whole.
void HostMerge::checkTimestamps() const {
    for (const ModelObject* object : context_.insertedAndChanged()) {
        if (&object->entity() == &Thing::description()) {
            const auto& thing = static_cast<const Thing&>(*object);
            checkTimestamp(thing.createdAt());
            checkTimestamp(thing.updatedAt());
            if (thing.trashedAt()) checkTimestamp(*thing.trashedAt());
        } else if (&object->entity() == &Tag::description()) {
            checkTimestamp(static_cast<const Tag&>(*object).createdAt());
        } else {
            checkTimestamp(static_cast<const Project&>(*object).createdAt());
        }
    }
}

void HostMerge::checkTimestamp(const Date& date) const {
    // Where nothing is at stake, the process goes on and tells it.
    if (observer_ != nullptr && !date.representableMilliseconds()) {
        throw BridgeError(
            "A time of the request lies outside of what can be stored; an exchange with it ends "
            "the host’s process.");
    }
    (void)wireTimestamp(date);
}

}  // namespace kelto
