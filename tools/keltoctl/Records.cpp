#include "tools/keltoctl/Records.hpp"

#include <utility>

namespace kelto::ctl {

namespace {

std::optional<std::string> optionalText(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->string() == nullptr) return std::nullopt;
    return *value->string();
}

std::string text(const JsonValue& record, std::string_view key) {
    return optionalText(record, key).value_or("");
}

std::optional<std::int64_t> optionalInteger(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->number() == nullptr) return std::nullopt;
    return value->number()->integer();
}

std::int64_t integer(const JsonValue& record, std::string_view key) {
    return optionalInteger(record, key).value_or(0);
}

double real(const JsonValue& record, std::string_view key, double otherwise) {
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->number() == nullptr) return otherwise;
    return value->number()->real().value_or(otherwise);
}

bool boolean(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value != nullptr && value->boolean() != nullptr && *value->boolean();
}

std::vector<std::string> texts(const JsonValue& record, std::string_view key) {
    std::vector<std::string> found;
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->array() == nullptr) return found;
    for (const JsonValue& element : *value->array())
        if (element.string() != nullptr) found.push_back(*element.string());
    return found;
}

JsonMembers commonMembers(std::string_view type, const std::string& id, std::int64_t createdAt) {
    JsonMembers members;
    members.emplace_back("recordType", type);
    members.emplace_back("uuid", id);
    members.emplace_back("createdAt", createdAt);
    return members;
}

template <typename Value>
void addIfPresent(JsonMembers& members, const char* key, const std::optional<Value>& value) {
    if (value) members.emplace_back(key, *value);
}

}  // namespace

ProjectRecord projectFrom(const JsonValue& record) {
    return {.id = text(record, "uuid"),
            .createdAt = integer(record, "createdAt"),
            .name = text(record, "name"),
            .sortOrder = integer(record, "sortOrder"),
            .linkedFolderOwner = text(record, "linkedFolderOwner"),
            .parent = optionalText(record, "parent")};
}

TagRecord tagFrom(const JsonValue& record) {
    return {.id = text(record, "uuid"),
            .createdAt = integer(record, "createdAt"),
            .name = text(record, "name")};
}

ThingRecord thingFrom(const JsonValue& record) {
    return {.id = text(record, "uuid"),
            .createdAt = integer(record, "createdAt"),
            .updatedAt = integer(record, "updatedAt"),
            .trashedAt = optionalInteger(record, "trashedAt"),
            .kind = text(record, "kind"),
            .title = text(record, "title"),
            .subtitle = text(record, "subtitle"),
            .content = text(record, "content"),
            .note = text(record, "note"),
            .urlString = text(record, "urlString"),
            .fileName = text(record, "fileName"),
            .typeIdentifier = text(record, "typeIdentifier"),
            .fileSize = integer(record, "fileSize"),
            .aspectRatio = real(record, "aspectRatio", 1.0),
            .isStarred = boolean(record, "isStarred"),
            .metadataJson = text(record, "metadataJson"),
            .tags = texts(record, "tags"),
            .project = optionalText(record, "project"),
            .data = optionalText(record, "data"),
            .thumbnail = optionalText(record, "thumbnail"),
            .icon = optionalText(record, "icon"),
            .fileFingerprint = text(record, "fileFingerprint"),
            .fingerprint = text(record, "fingerprint"),
            .baseFileFingerprint = std::nullopt};
}

JsonValue toRecord(const ProjectRecord& project) {
    JsonMembers members = commonMembers("Project", project.id, project.createdAt);
    members.emplace_back("name", project.name);
    members.emplace_back("sortOrder", project.sortOrder);
    members.emplace_back("linkedFolderOwner", project.linkedFolderOwner);
    addIfPresent(members, "parent", project.parent);
    return members;
}

JsonValue toRecord(const TagRecord& tag) {
    JsonMembers members = commonMembers("Tag", tag.id, tag.createdAt);
    members.emplace_back("name", tag.name);
    return members;
}

JsonValue toRecord(const ThingRecord& thing) {
    JsonMembers members = commonMembers("Thing", thing.id, thing.createdAt);
    members.emplace_back("updatedAt", thing.updatedAt);
    addIfPresent(members, "trashedAt", thing.trashedAt);
    members.emplace_back("kind", thing.kind);
    members.emplace_back("title", thing.title);
    members.emplace_back("subtitle", thing.subtitle);
    members.emplace_back("content", thing.content);
    members.emplace_back("note", thing.note);
    members.emplace_back("urlString", thing.urlString);
    members.emplace_back("fileName", thing.fileName);
    members.emplace_back("typeIdentifier", thing.typeIdentifier);
    members.emplace_back("fileSize", thing.fileSize);
    members.emplace_back("aspectRatio", thing.aspectRatio);
    members.emplace_back("isStarred", thing.isStarred);
    members.emplace_back("metadataJson", thing.metadataJson);
    members.emplace_back("tags", JsonElements(thing.tags.begin(), thing.tags.end()));
    addIfPresent(members, "project", thing.project);
    addIfPresent(members, "data", thing.data);
    addIfPresent(members, "thumbnail", thing.thumbnail);
    addIfPresent(members, "icon", thing.icon);
    addIfPresent(members, "baseFileFingerprint", thing.baseFileFingerprint);
    return members;
}

JsonValue deletionRecord(std::string_view recordType, std::string_view id) {
    JsonMembers members;
    members.emplace_back("recordType", recordType);
    members.emplace_back("uuid", id);
    members.emplace_back("deleted", true);
    return members;
}

}  // namespace kelto::ctl
