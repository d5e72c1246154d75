#include "tests/random/MergeModel.hpp"

#include <utility>

#include "tests/random/ConflictCopy.hpp"
#include "tests/random/ModelReaders.hpp"
#include "tests/random/ModelRecords.hpp"

namespace kelto::history {

namespace {

bool isDeletion(const JsonValue& record) {
    return readTrue(record, "deleted");
}

Id identifierOf(const JsonValue& record) {
    if (const auto id = readId(record, "uuid")) return *id;
    throw Refusal{"Invalid record identifier.", std::nullopt};
}

std::string typeOf(const JsonValue& record) {
    const auto type = readText(record, "recordType");
    if (type == "Project" || type == "Tag" || type == "Thing") return *type;
    throw Refusal{"Unknown iCloud record type.", std::nullopt};
}

std::string textOr(const JsonValue& record, std::string_view key, const char* otherwise = "") {
    return readText(record, key).value_or(otherwise);
}

template <typename List>
void addUnlessThere(List& list, const Id& id) {
    if (findById(list, id) == nullptr) list.emplace_back().id = id;
}

template <typename List>
void removeById(List& list, const Id& id) {
    list.remove_if([&](const auto& item) { return item.id == id; });
}

}  // namespace

MergeModel::MergeModel(ModelLibrary& library,
                       const HostFiles& files,
                       std::string directory,
                       Seconds now)
    : library_(library), files_(files), directory_(std::move(directory)), now_(now) {
    for (const ModelThing& thing : library.things) existingThings_.insert(thing.id);
}

void MergeModel::merge(const JsonElements& records) {
    for (const JsonValue& record : records) {
        if (!isDeletion(record)) create(record);
    }
    for (const JsonValue& record : records) {
        if (!isDeletion(record)) update(record);
    }
    for (const JsonValue& record : records) {
        if (isDeletion(record)) remove(record);
    }
    checkCycles();
}

void MergeModel::create(const JsonValue& record) {
    const Id id = identifierOf(record);
    const std::string type = typeOf(record);
    if (type == "Project") addUnlessThere(library_.projects, id);
    if (type == "Tag") addUnlessThere(library_.tags, id);
    if (type == "Thing") addUnlessThere(library_.things, id);
}

void MergeModel::update(const JsonValue& record) {
    const Id id = identifierOf(record);
    const std::string type = typeOf(record);
    if (type == "Project") updateProject(*findById(library_.projects, id), record);
    if (type == "Thing") updateThing(*findById(library_.things, id), record);
    if (type == "Tag") {
        ModelTag& tag = *findById(library_.tags, id);
        tag.name = textOr(record, "name");
        tag.createdAt = readSeconds(record, "createdAt").value_or(0);
    }
}

void MergeModel::updateProject(ModelProject& project, const JsonValue& record) {
    project.name = textOr(record, "name");
    project.sortOrder = readInteger(record, "sortOrder").value_or(0);
    project.createdAt = readSeconds(record, "createdAt").value_or(0);
    // The one field that stays when the host leaves it out.
    if (const auto owner = readText(record, "linkedFolderOwner")) {
        project.linkedFolderOwner = *owner;
    }
    project.parent = knownProject(record, "parent");
}

void MergeModel::updateThing(ModelThing& thing, const JsonValue& record) {
    // Read first: a bad path fails the exchange even where the host's version loses.
    const Content data = payload(record, "data");
    if (hostWins(thing, record, data)) applyThing(thing, record, data);
}

bool MergeModel::hostWins(const ModelThing& thing, const JsonValue& record, const Content& data) {
    if (!existingThings_.contains(thing.id)) return decided(true, "the thing is new");
    const auto base = readText(record, "baseFileFingerprint");
    if (!base || !isLinked(thing)) {
        const Seconds updatedAt = readSeconds(record, "updatedAt").value_or(0);
        if (thing.updatedAt > updatedAt) return decided(false, "the host's version is older");
        return thing.updatedAt < updatedAt ? decided(true, "the host's version is newer")
                                           : decided(true, "both versions are of the same time");
    }
    ModelThing sent;
    sent.kind = textOr(record, "kind");
    sent.title = textOr(record, "title");
    sent.content = textOr(record, "content");
    sent.urlString = textOr(record, "urlString");
    sent.fileName = textOr(record, "fileName");
    sent.trashedAt = readSeconds(record, "trashedAt");
    sent.data = data;
    const std::string ours = fileFingerprint(thing);
    const std::string theirs = fileFingerprint(sent);
    if (ours == theirs) return decided(true, "both sides have the same file");
    if (theirs == *base) return decided(false, "only the store has changed the file");
    if (ours == *base) return decided(true, "only the host has changed the file");
    keepBothSides(thing);
    return decided(true, "both sides have changed the file");
}

bool MergeModel::decided(bool wins, const char* why) {
    ++decisions_[why];
    return wins;
}

void MergeModel::applyThing(ModelThing& thing, const JsonValue& record, Content data) {
    thing.kind = textOr(record, "kind");
    thing.title = textOr(record, "title");
    thing.subtitle = textOr(record, "subtitle");
    thing.content = textOr(record, "content");
    thing.note = textOr(record, "note");
    thing.urlString = textOr(record, "urlString");
    thing.fileName = textOr(record, "fileName");
    thing.typeIdentifier = textOr(record, "typeIdentifier");
    thing.fileSize = readInteger(record, "fileSize").value_or(0);
    thing.aspectRatio = readNumber(record, "aspectRatio").value_or(1.0);
    thing.isStarred = readTrue(record, "isStarred");
    thing.trashedAt = readSeconds(record, "trashedAt");
    thing.createdAt = readSeconds(record, "createdAt").value_or(0);
    thing.updatedAt = readSeconds(record, "updatedAt").value_or(0);
    thing.metadataJson = textOr(record, "metadataJson");
    thing.tags.clear();
    for (const Id& tag : readIds(record, "tags")) {
        if (findById(library_.tags, tag) != nullptr) thing.tags.insert(tag);
    }
    thing.project = knownProject(record, "project");
    thing.data = std::move(data);
    thing.thumbnail = payload(record, "thumbnail");
    thing.icon = payload(record, "icon");
}

void MergeModel::keepBothSides(const ModelThing& thing) {
    if (findById(library_.things, conflictId(thing)) != nullptr) {
        ++decisions_["the store's version is kept already"];
        return;
    }
    library_.things.push_back(conflictCopy(thing, now_));
}

void MergeModel::remove(const JsonValue& record) {
    const Id id = identifierOf(record);
    const std::string type = typeOf(record);
    if (type == "Thing") removeById(library_.things, id);
    if (type == "Tag") {
        removeById(library_.tags, id);
        for (ModelThing& thing : library_.things) thing.tags.erase(id);
    }
    if (type == "Project") {
        // What the project held stays: its children at the top, its things without a project.
        removeById(library_.projects, id);
        for (ModelProject& child : library_.projects) {
            if (child.parent == id) child.parent.reset();
        }
        for (ModelThing& thing : library_.things) {
            if (thing.project == id) thing.project.reset();
        }
    }
}

void MergeModel::checkCycles() const {
    for (const ModelProject& project : library_.projects) {
        std::set<Id> visited = {project.id};
        for (auto parent = project.parent; parent;
             parent = findById(library_.projects, *parent)->parent) {
            if (!visited.insert(*parent).second) {
                throw Refusal{"The library contains a project cycle.", std::nullopt};
            }
        }
    }
}

bool MergeModel::isLinked(const ModelThing& thing) const {
    std::set<Id> visited;
    for (auto id = thing.project; id && visited.insert(*id).second;) {
        const ModelProject& project = *findById(library_.projects, *id);
        if (!project.linkedFolderOwner.empty()) return true;
        id = project.parent;
    }
    return false;
}

Content MergeModel::payload(const JsonValue& record, std::string_view key) const {
    const auto path = readText(record, key);
    if (!path) return nullptr;
    const FoundFile found = files_.find(*path, directory_);
    switch (found.kind) {
        case FoundFile::Kind::readable:
            break;
        case FoundFile::Kind::unreadable:
            throw Refusal{"", HostFiles::lastName(*path)};
        case FoundFile::Kind::outside:
            throw Refusal{"Invalid asset path.", std::nullopt};
    }
    return found.content;
}

std::optional<Id> MergeModel::knownProject(const JsonValue& record, std::string_view key) const {
    auto id = readId(record, key);
    if (!id || findById(library_.projects, *id) == nullptr) return std::nullopt;
    return id;
}

}  // namespace kelto::history
