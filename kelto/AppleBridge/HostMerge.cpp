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
                     LibraryIndex& index)
    : context_(context),
      request_(request),
      index_(index),
      assets_(files, context.payloads(), request.directory()) {}

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
        switch (note.type) {
            case RecordType::project:
                updateProject(static_cast<Project&>(*note.object), record);
                break;
            case RecordType::tag:
                updateTag(static_cast<Tag&>(*note.object), record);
                break;
            case RecordType::thing:
                updateThing(static_cast<Thing&>(*note.object), record);
                break;
        }
        notes_.settle();
    }
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
    if (!hostWins(thing, record, payload)) {
        ++counts_.kept;
        return;
    }
    ++counts_.applied;
    apply(thing, record, std::move(incomingData));
}

bool HostMerge::hostWins(Thing& thing,
                         const Record& record,
                         const std::optional<Payload>& incomingData) {
    if (thing.state() == ModelObject::State::inserted) return true;

    const auto base = record.optionalString(RecordKey::baseFileFingerprint);
    if (!base || !linkedProjects_.isLinked(thing))
        return thing.updatedAt() <= record.date(RecordKey::updatedAt);

    const FileFacts facts = incomingFacts(record, incomingData);
    // Equal files have equal fingerprints, whatever they are: the frequent case needs no digest.
    if (facts == FileFacts::of(thing)) return true;
    const std::string stored = fileFingerprint(thing);
    const std::string incoming = fileFingerprint(facts);
    if (incoming == *base && stored != incoming) return false;  // only the store has changed
    const bool bothChanged = stored != *base && stored != incoming;
    if (!bothChanged) return true;
    const std::size_t things = index_.things.size();
    preserveConflict(thing, stored, index_.things, context_);
    counts_.conflicts += index_.things.size() - things;
    return true;
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
        const Uuid identifier = identifierOf(record);
        switch (typeOf(record)) {
            case RecordType::project:
                if (Project* project = taken(index_.projects, identifier)) deleteProject(*project);
                break;
            case RecordType::tag:
                if (Tag* tag = taken(index_.tags, identifier)) context_.remove(*tag);
                break;
            case RecordType::thing:
                if (Thing* thing = taken(index_.things, identifier)) context_.remove(*thing);
                break;
        }
    }
    if (hasDeleted) notes_.forgetDeleted();
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
            (void)wireTimestamp(thing.createdAt());
            (void)wireTimestamp(thing.updatedAt());
            if (thing.trashedAt()) (void)wireTimestamp(*thing.trashedAt());
        } else if (&object->entity() == &Tag::description()) {
            (void)wireTimestamp(static_cast<const Tag&>(*object).createdAt());
        } else {
            (void)wireTimestamp(static_cast<const Project&>(*object).createdAt());
        }
    }
}

}  // namespace kelto
