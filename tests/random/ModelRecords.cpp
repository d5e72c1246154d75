#include "tests/random/ModelRecords.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "kelto/foundation/Sha256.hpp"

namespace kelto::history {

namespace {

std::string jsonText(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '/':
                out += "\\/";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                if (c >= 0 && c < 0x20) {
                    out += "\\u00";
                    out += digits[static_cast<std::size_t>(c) / 16];
                    out += digits[static_cast<std::size_t>(c) % 16];
                } else {
                    out += c;
                }
        }
    }
    return out + "\"";
}

std::string canonicalObject(JsonMembers members) {
    std::sort(members.begin(), members.end(), [](const auto& left, const auto& right) {
        return left.first < right.first;
    });
    std::string out;
    for (const auto& [key, value] : members) {
        out += out.empty() ? "{" : ",";
        out += jsonText(key) + ":" + canonicalText(value);
    }
    return out.empty() ? "{}" : out + "}";
}

JsonValue wireTime(Seconds seconds) {
    return wireMilliseconds(seconds);
}

JsonMembers baseRecord(const char* type, const Id& id, Seconds createdAt) {
    return {{"recordType", type}, {"uuid", id}, {"createdAt", wireTime(createdAt)}};
}

}  // namespace

std::int64_t wireMilliseconds(Seconds seconds) {
    return static_cast<std::int64_t>(std::round(seconds * 1000.0));
}

std::string canonicalText(const JsonValue& value) {
    if (value.string() != nullptr) return jsonText(*value.string());
    if (value.object() != nullptr) return canonicalObject(*value.object());
    if (value.array() != nullptr) {
        std::string out;
        for (const JsonValue& element : *value.array()) {
            out += (out.empty() ? "[" : ",") + canonicalText(element);
        }
        return out.empty() ? "[]" : out + "]";
    }
    if (value.boolean() != nullptr) return *value.boolean() ? "true" : "false";
    if (value.number() != nullptr) return value.number()->text;
    return "null";
}

JsonValue doubleValue(double number) {
    constexpr double largestPlain = 9007199254740992;  // 2^53
    const double size = std::fabs(number);
    const bool plain = size == 0 || (size >= 0.0001 && size <= largestPlain);
    char text[64];
    const auto end =
        std::to_chars(text,
                      text + sizeof text,
                      number,
                      plain ? std::chars_format::fixed : std::chars_format::scientific);
    return JsonNumber{std::string(text, end.ptr)};
}

std::string fileFingerprint(const ModelThing& thing) {
    JsonMembers members = {{"kind", thing.kind},
                           {"title", thing.title},
                           {"content", thing.content},
                           {"url", thing.urlString},
                           {"name", thing.fileName}};
    if (thing.trashedAt) members.emplace_back("trashed", wireTime(*thing.trashedAt));
    if (thing.data) members.emplace_back("data", thing.data->digest);
    return sha256(canonicalText(members)).hex();
}

JsonValue projectRecord(const ModelProject& project) {
    JsonMembers members = baseRecord("Project", project.id, project.createdAt);
    members.emplace_back("name", project.name);
    members.emplace_back("sortOrder", project.sortOrder);
    members.emplace_back("linkedFolderOwner", project.linkedFolderOwner);
    if (project.parent) members.emplace_back("parent", *project.parent);
    return members;
}

JsonValue tagRecord(const ModelTag& tag) {
    JsonMembers members = baseRecord("Tag", tag.id, tag.createdAt);
    members.emplace_back("name", tag.name);
    return members;
}

JsonValue thingRecord(const ModelThing& thing, std::string_view receivedFolder) {
    JsonValue record = baseRecord("Thing", thing.id, thing.createdAt);
    record.setMember("kind", thing.kind);
    record.setMember("title", thing.title);
    record.setMember("subtitle", thing.subtitle);
    record.setMember("content", thing.content);
    record.setMember("note", thing.note);
    record.setMember("urlString", thing.urlString);
    record.setMember("fileName", thing.fileName);
    record.setMember("typeIdentifier", thing.typeIdentifier);
    record.setMember("fileSize", thing.fileSize);
    record.setMember("aspectRatio", doubleValue(thing.aspectRatio));
    record.setMember("isStarred", thing.isStarred);
    if (thing.trashedAt) record.setMember("trashedAt", wireTime(*thing.trashedAt));
    record.setMember("updatedAt", wireTime(thing.updatedAt));
    record.setMember("metadataJson", thing.metadataJson);
    record.setMember("tags", JsonElements(thing.tags.begin(), thing.tags.end()));
    if (thing.project) record.setMember("project", *thing.project);
    if (thing.data) record.setMember("data", thing.data->digest);
    if (thing.thumbnail) record.setMember("thumbnail", thing.thumbnail->digest);
    if (thing.icon) record.setMember("icon", thing.icon->digest);
    record.setMember("fileFingerprint", fileFingerprint(thing));
    // Taken while digests stand for the payloads, so that it tells when bytes have changed under an
    // unchanged path.
    record.setMember("fingerprint", sha256(canonicalText(record)).hex());
    const std::string path = std::string(receivedFolder) + "/" + thing.id;
    if (thing.data) record.setMember("data", path + ".data");
    if (thing.thumbnail) record.setMember("thumbnail", path + ".thumbnail");
    if (thing.icon) record.setMember("icon", path + ".icon");
    return record;
}

}  // namespace kelto::history
