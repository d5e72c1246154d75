#include "kelto/AppleBridge/HostMerge.hpp"

#include <utility>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ConflictPreservation.hpp"
#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/ProjectCycles.hpp"
#include "kelto/AppleBridge/WireTimestamp.hpp"

namespace kelto {

namespace {

enum class RecordType { project, tag, thing };

Uuid identifierOf(const Record& record) {
    if (const auto identifier = record.optionalUUID(RecordKey::uuid)) return *identifier;
    throw BridgeError("Invalid record identifier.");
}

RecordType typeOf(const Record& record) {
    const std::string_view type = record.string(RecordKey::recordType);
    if (type == "Project") return RecordType::project;
    if (type == "Tag") return RecordType::tag;
    if (type == "Thing") return RecordType::thing;
    throw BridgeError("Unknown iCloud record type.");
}

bool isDeletion(const Record& record) {
    return record.boolean(RecordKey::deleted);
}

/// Takes the model of that identifier out of its index; nullptr when there is none.
template <typename Model>
Model* taken(UniqueIndex<Model>& index, const Uuid& identifier) {
    const auto node = index.extract(identifier);
    return node.empty() ? nullptr : node.mapped();
}

}  // namespace

HostMerge::HostMerge(ModelContext& context, const ExchangeRequest& request, FileSystem& files)
    : context_(context),
      request_(request),
      things_(unique(context.fetch<Thing>())),
      tags_(unique(context.fetch<Tag>())),
      projects_(unique(context.fetch<Project>())),
      assets_(files, context.payloads(), request.directory()) {}

void HostMerge::run() {
    createMissing();
    updateFields();
    deleteRecords();
    checkCycles();
    checkTimestamps();
    context_.save();
}

// First all objects, then their fields: a record may refer to one that stands later in the list.
void HostMerge::createMissing() {
    for (const Record& record : request_.records()) {
        if (isDeletion(record)) continue;
        const Uuid identifier = identifierOf(record);
        switch (typeOf(record)) {
            case RecordType::project:
                create(projects_, identifier, "", nullptr);
                break;
            case RecordType::tag:
                create(tags_, identifier, "");
                break;
            case RecordType::thing:
                if (Thing* thing = create(things_, identifier, ThingKind::note, "")) {
                    newThings_.insert(thing);
                }
                break;
        }
    }
}

template <typename Model, typename... Arguments>
Model* HostMerge::create(UniqueIndex<Model>& index,
                         const Uuid& identifier,
                         Arguments&&... arguments) {
    const auto [place, isNew] = index.try_emplace(identifier, nullptr);
    if (!isNew) return nullptr;
    place->second = &context_.insert<Model>(std::forward<Arguments>(arguments)...);
    place->second->setUuid(identifier);
    return place->second;
}

void HostMerge::updateFields() {
    for (const Record& record : request_.records()) {
        if (isDeletion(record)) continue;
        const Uuid identifier = identifierOf(record);
        switch (typeOf(record)) {
            case RecordType::project:
                updateProject(*projects_.at(identifier), record);
                break;
            case RecordType::tag:
                updateTag(*tags_.at(identifier), record);
                break;
            case RecordType::thing:
                updateThing(*things_.at(identifier), record);
                break;
        }
    }
}

void HostMerge::updateProject(Project& project, const Record& record) {
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
}

void HostMerge::updateTag(Tag& tag, const Record& record) {
    tag.setName(record.string(RecordKey::name));
    tag.setCreatedAt(record.date(RecordKey::createdAt));
}

void HostMerge::updateThing(Thing& thing, const Record& record) {
    // Before any decision: a path that leads out of the folder fails even a record that would lose.
    auto incomingData = assets_.asset(record, RecordKey::data);
    const auto payload =
        incomingData ? std::optional(incomingData->payload()) : std::optional<Payload>();
    if (hostWins(thing, record, payload)) apply(thing, record, std::move(incomingData));
}

bool HostMerge::hostWins(Thing& thing,
                         const Record& record,
                         const std::optional<Payload>& incomingData) {
    if (newThings_.contains(&thing)) return true;

    const auto base = record.optionalString(RecordKey::baseFileFingerprint);
    if (!base || !linkedProjects_.isLinked(thing))
        return thing.updatedAt() <= record.date(RecordKey::updatedAt);

    const std::string stored = fileFingerprint(thing);
    const std::string incoming =
        fileFingerprint(FileFacts{record.string(RecordKey::kind),
                                  record.string(RecordKey::title),
                                  record.string(RecordKey::content),
                                  record.string(RecordKey::urlString),
                                  record.string(RecordKey::fileName),
                                  record.optionalDate(RecordKey::trashedAt),
                                  incomingData});
    if (incoming == *base && stored != incoming) return false;  // only the store has changed
    const bool bothChanged = stored != *base && stored != incoming;
    if (bothChanged) preserveConflict(thing, stored, things_, context_);
    return true;
}

void HostMerge::apply(Thing& thing,
                      const Record& record,
                      std::optional<ReceivedPayload> incomingData) {
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
        if (const auto tag = tags_.find(identifier); tag != tags_.end()) {
            tags.push_back(tag->second);
        }
    }
    thing.setTags(tags);
    thing.setProject(projectNamed(record.optionalUUID(RecordKey::project)));
    thing.setData(kept(std::move(incomingData)));
    thing.setThumbnailData(kept(assets_.asset(record, RecordKey::thumbnail)));
    thing.setIconData(kept(assets_.asset(record, RecordKey::icon)));
}

std::optional<Payload> HostMerge::kept(std::optional<ReceivedPayload> received) {
    if (!received) return std::nullopt;
    context_.payloads().keep(*received);
    return received->payload();
}

Project* HostMerge::projectNamed(const std::optional<Uuid>& identifier) const {
    if (!identifier) return nullptr;
    const auto project = projects_.find(*identifier);
    return project == projects_.end() ? nullptr : project->second;
}

void HostMerge::deleteRecords() {
    for (const Record& record : request_.records()) {
        if (!isDeletion(record)) continue;
        const Uuid identifier = identifierOf(record);
        switch (typeOf(record)) {
            case RecordType::project:
                if (Project* project = taken(projects_, identifier)) deleteProject(*project);
                break;
            case RecordType::tag:
                if (Tag* tag = taken(tags_, identifier)) context_.remove(*tag);
                break;
            case RecordType::thing:
                if (Thing* thing = taken(things_, identifier)) context_.remove(*thing);
                break;
        }
    }
}

void HostMerge::deleteProject(Project& project) {
    // Only this project goes: what lies in it moves to the top level instead of going with it.
    const std::vector<Project*> children = project.children().list();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        (*child)->setParent(nullptr);
    }
    context_.remove(project);
}

void HostMerge::checkCycles() const {
    std::vector<const Project*> projects;
    projects.reserve(projects_.size());
    for (const auto& [identifier, project] : projects_) projects.push_back(project);
    if (hasProjectCycle(projects)) throw BridgeError("The library contains a project cycle.");
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
