#include "kelto/AppleBridge/ThingRecord.hpp"

#include <algorithm>
#include <vector>

#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"

namespace kelto {

namespace {

void appendTags(std::string& out, const Thing& thing) {
    std::vector<Uuid> identifiers;
    identifiers.reserve(thing.tags().size());
    for (const Tag* tag : thing.tags()) identifiers.push_back(tag->uuid());
    std::sort(identifiers.begin(), identifiers.end());
    out += '[';
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        out += i == 0 ? "\"" : ",\"";
        identifiers[i].appendLowerCase(out);
        out += '"';
    }
    out += ']';
}

/// The members of a thing's record in the order of their keys. `appendPayload` writes the value of
/// a payload that is there.
template <typename AppendPayload>
void appendRecord(std::string& out,
                  const Thing& thing,
                  std::string_view fileFingerprint,
                  const std::optional<std::string_view>& fingerprint,
                  AppendPayload appendPayload) {
    RecordWriter record(out);
    const auto payload = [&](std::string_view key, const std::optional<Payload>& value) {
        if (value) appendPayload(record.value(key), key, *value);
    };
    record.number("aspectRatio", thing.aspectRatio());
    record.text("content", thing.content());
    record.timestamp("createdAt", thing.createdAt());
    payload("data", thing.data());
    record.text("fileFingerprint", fileFingerprint);
    record.text("fileName", thing.fileName());
    record.integer("fileSize", thing.fileSize());
    if (fingerprint) record.text("fingerprint", *fingerprint);
    payload("icon", thing.iconData());
    record.boolean("isStarred", thing.isStarred());
    record.text("kind", thing.kindRaw());
    record.text("metadataJson", thing.metadataJSON());
    record.text("note", thing.note());
    if (thing.project() != nullptr) record.identifier("project", thing.project()->uuid());
    record.text("recordType", "Thing");
    record.text("subtitle", thing.subtitle());
    appendTags(record.value("tags"), thing);
    payload("thumbnail", thing.thumbnailData());
    record.text("title", thing.title());
    if (thing.trashedAt()) record.timestamp("trashedAt", *thing.trashedAt());
    record.text("typeIdentifier", thing.typeIdentifier());
    record.timestamp("updatedAt", thing.updatedAt());
    record.text("urlString", thing.urlString());
    record.identifier("uuid", thing.uuid());
    record.close();
}

}  // namespace

std::array<PayloadField, 3> payloadFields(const Thing& thing) {
    return {PayloadField{"data", &thing.data()},
            PayloadField{"thumbnail", &thing.thumbnailData()},
            PayloadField{"icon", &thing.iconData()}};
}

std::string canonicalThingRecord(const Thing& thing, std::string_view fileFingerprint) {
    std::string json;
    appendRecord(json,
                 thing,
                 fileFingerprint,
                 std::nullopt,
                 [](std::string& out, std::string_view, const Payload& payload) {
                     out += '"';
                     payload.digest.appendHex(out);
                     out += '"';
                 });
    return json;
}

DerivedDigests fingerprintsOf(const Thing& thing) {
    if (thing.derivedDigests()) return *thing.derivedDigests();
    DerivedDigests digests;
    digests.file = sha256(canonicalJson(FileFacts::of(thing)));
    digests.record = sha256(canonicalThingRecord(thing, digests.file.hex()));
    thing.remember(digests);
    return digests;
}

void appendThingRecord(std::string& out,
                       const Thing& thing,
                       std::string_view fileFingerprint,
                       std::string_view fingerprint,
                       std::string_view payloadPathPrefix) {
    appendRecord(out,
                 thing,
                 fileFingerprint,
                 fingerprint,
                 [&](std::string& text, std::string_view key, const Payload&) {
                     std::string path(payloadPathPrefix);
                     path += key;
                     appendJsonString(text, path);
                 });
}

}  // namespace kelto
