#include "kelto/AppleBridge/HostMerge.hpp"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/Fingerprints.hpp"
#include "kelto/AppleBridge/MergedTimes.hpp"
#include "kelto/AppleBridge/ProjectCycles.hpp"

namespace kelto {

namespace {

Uuid identifierOf(const Record& record) {
    if (const auto identifier = record.identifier()) return *identifier;
    throw BridgeError(BridgeRefusal::invalidIdentifier);
}

RecordType typeOf(const Record& record) {
    if (const auto type = record.type()) return *type;
    throw BridgeError(BridgeRefusal::unknownRecordType);
}

std::vector<const Thing*> changedThings(const ModelContext& context) {
    std::vector<const Thing*> things;
    for (const ModelObject* object : context.insertedAndChanged()) {
        if (&object->entity() == &Thing::description()) {
            things.push_back(static_cast<const Thing*>(object));
        }
    }
    return things;
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
      things_(context, index, assets_, notes_, counts_, observer != nullptr),
      observer_(observer) {}

void HostMerge::begin() {
    assets_.lookAhead(request_.records());  // while the library is loaded
    index_.begin(context_);
    remembersObjects_ = request_.memory() != nullptr &&
                        request_.memory()->populationNumber == context_.populationNumber();
}

void HostMerge::merge() {
    isRepetition_ = repeatsLastMerge();
    if (isRepetition_) {
        counts_.skipped = request_.records().size();
        return;
    }
    createMissing();
    const std::uint64_t structure = index_.structureNumber();
    updateFields();
    deleteRecords();
    if (index_.structureNumber() != structure) notes_.unsettle();
    lookAt(nullptr);
    checkCycles();
    checkTimes(context_, observer_ != nullptr);
}

bool HostMerge::repeatsLastMerge() {
    if (!request_.isRepeated() || !remembersObjects_) return false;
    const RequestMemory& memory = *request_.memory();
    if (!memory.isSettled || memory.structureNumber != index_.structureNumber() ||
        memory.changeNumber != context_.lastChangeNumber()) {
        return false;
    }
    fileStatuses_ = assets_.lookAtAll(memory);
    for (std::size_t i = 0; i < memory.files.size(); ++i) {
        if (!assets_.isUnchanged(fileStatuses_[i], memory.files[i].payload)) return false;
    }
    return true;
}

std::shared_ptr<const RequestMemory> HostMerge::save() {
    rememberFingerprints(changedThings(context_));  // so that the rows get them, too
    context_.save();
    index_.agree(context_);
    if (isRepetition_) return request_.memory();
    std::unique_ptr<RequestMemory> memory = notes_.take();
    memory->populationNumber = context_.populationNumber();
    memory->structureNumber = index_.structureNumber();
    memory->changeNumber = context_.lastChangeNumber();
    memory->isSettled =
        std::all_of(memory->records.begin(), memory->records.end(), [](const SeenRecord& record) {
            return record.isSettled && record.changeNumber == record.object->changeNumber();
        });
    request_.describe(*memory);
    return memory;
}

// First all objects, then their fields: a record may refer to one that stands later in the list.
void HostMerge::createMissing() {
    notes_.reserve(request_.records().size(), request_.memory().get());
    for (const Record& record : request_.records()) {
        if (record.isDeletion()) continue;
        lookAt(&record);
        if (record.seen() != nullptr) ++recognised_;
        SeenRecord note;
        note.textHash = record.textHash();
        note.textSize = record.textSize();
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
    if (Model* const stored = index.find(identifier)) return *stored;
    Model& made = context_.insert<Model>(std::forward<Arguments>(arguments)...);
    made.setUuid(identifier);
    (void)index.add(made);
    ++counts_.created;
    if constexpr (!std::is_same_v<Model, Thing>) index_.noteChangedStructure();
    return made;
}

void HostMerge::updateFields() {
    std::size_t place = 0;
    for (const Record& record : request_.records()) {
        if (record.isDeletion()) continue;
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
            return things_.update(static_cast<Thing&>(object), record, decision_);
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
    Project* const parent = index_.projectNamed(record.optionalUUID(RecordKey::parent));
    if (owner == project.linkedFolderOwner() && parent == project.parent()) return;
    project.setLinkedFolderOwner(owner);
    project.setParent(parent);
    things_.forgetLinks();
    index_.noteChangedStructure();
}

void HostMerge::updateTag(Tag& tag, const Record& record) {
    ++counts_.applied;
    tag.setName(record.string(RecordKey::name));
    tag.setCreatedAt(record.date(RecordKey::createdAt));
}

void HostMerge::deleteRecords() {
    bool hasDeleted = false;
    for (const Record& record : request_.records()) {
        if (!record.isDeletion()) continue;
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
    Model* const model = index.take(identifier);
    if (model == nullptr) return nullptr;
    ++counts_.deleted;
    if constexpr (!std::is_same_v<Model, Thing>) index_.noteChangedStructure();
    return model;
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
    if (hasProjectCycle(index_.projects.models())) throw BridgeError(BridgeRefusal::projectCycle);
    index_.noteAcyclic();
}

}  // namespace kelto
