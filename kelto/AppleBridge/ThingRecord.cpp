#include "kelto/AppleBridge/ThingRecord.hpp"

#include <algorithm>
#include <span>
#include <vector>

#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/StoredFingerprints.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"

namespace kelto {

namespace {

void appendPayloadName(std::string& out, const Thing& thing, std::string_view key) {
    thing.uuid().appendLowerCase(out);
    out += '.';
    out += key;
}

std::string payloadPath(std::string_view receivedFolder, const Thing& thing, std::string_view key) {
    std::string path;
    path.reserve(receivedFolder.size() + Uuid::textLength + key.size() + 2);
    path += receivedFolder;
    path += '/';
    appendPayloadName(path, thing, key);
    return path;
}

void appendTags(RecordWriter& record, const Thing& thing) {
    constexpr std::size_t usual = 16;
    std::array<Uuid, usual> few;
    std::vector<Uuid> many;
    const std::size_t count = thing.tags().size();
    if (count > usual) many.resize(count);
    const std::span<Uuid> identifiers(count > usual ? many.data() : few.data(), count);
    std::transform(
        thing.tags().begin(), thing.tags().end(), identifiers.begin(), [](const Tag* tag) {
            return tag->uuid();
        });
    std::sort(identifiers.begin(), identifiers.end());
    record.identifiers("tags", identifiers);
}

/// The members of a thing's record in the order of their keys. `writePayload` writes the member of
/// a payload that is there.
template <typename WritePayload>
void appendRecord(TextBuffer& out,
                  const Thing& thing,
                  const Digest& fileFingerprint,
                  const Digest* fingerprint,
                  WritePayload writePayload) {
    RecordWriter record(out);
    const auto payload = [&](std::string_view key, const std::optional<Payload>& value) {
        if (value) writePayload(record, key, *value);
    };
    record.number("aspectRatio", thing.aspectRatio());
    record.text("content", thing.content());
    record.timestamp("createdAt", thing.createdAt());
    payload("data", thing.data());
    record.digest("fileFingerprint", fileFingerprint);
    record.text("fileName", thing.fileName());
    record.integer("fileSize", thing.fileSize());
    if (fingerprint != nullptr) record.digest("fingerprint", *fingerprint);
    payload("icon", thing.iconData());
    record.boolean("isStarred", thing.isStarred());
    record.text("kind", thing.kindRaw());
    record.text("metadataJson", thing.metadataJSON());
    record.text("note", thing.note());
    if (thing.project() != nullptr) record.identifier("project", thing.project()->uuid());
    record.plainText("recordType", "Thing");
    record.text("subtitle", thing.subtitle());
    appendTags(record, thing);
    payload("thumbnail", thing.thumbnailData());
    record.text("title", thing.title());
    if (thing.trashedAt()) record.timestamp("trashedAt", *thing.trashedAt());
    record.text("typeIdentifier", thing.typeIdentifier());
    record.timestamp("updatedAt", thing.updatedAt());
    record.text("urlString", thing.urlString());
    record.identifier("uuid", thing.uuid());
    record.close();
}

void appendCanonicalRecord(TextBuffer& out, const Thing& thing, const Digest& fileFingerprint) {
    appendRecord(out,
                 thing,
                 fileFingerprint,
                 nullptr,
                 [](RecordWriter& record, std::string_view key, const Payload& payload) {
                     record.digest(key, payload.digest);
                 });
}

}  // namespace

std::array<PayloadField, 3> payloadFields(const Thing& thing) {
    return {PayloadField{"data", thing.data()},
            PayloadField{"thumbnail", thing.thumbnailData()},
            PayloadField{"icon", thing.iconData()}};
}

std::string canonicalThingRecord(const Thing& thing, const Digest& fileFingerprint) {
    TextBuffer json;
    appendCanonicalRecord(json, thing, fileFingerprint);
    return std::string(json.view());
}

DerivedDigests computedFingerprints(const Thing& thing) {
    thread_local TextBuffer json;
    DerivedDigests digests;
    digests.file = sha256(canonicalJson(FileFacts::of(thing)));
    json.clear();
    appendCanonicalRecord(json, thing, digests.file);
    digests.record = sha256(json.view());
    digests.recordBytes = json.size();
    digests.basis = fingerprintBasis(thing, digests);
    return digests;
}

DerivedDigests fingerprintsOf(const Thing& thing) {
    if (const DerivedDigests* held = heldFingerprints(thing)) return *held;
    thing.remember(computedFingerprints(thing));
    return *thing.derivedDigests();
}

void appendThingRecord(TextBuffer& out,
                       const Thing& thing,
                       const DerivedDigests& fingerprints,
                       std::string_view receivedFolder) {
    appendRecord(out,
                 thing,
                 fingerprints.file,
                 &fingerprints.record,
                 [&](RecordWriter& record, std::string_view key, const Payload&) {
                     appendJsonString(record.value(key), payloadPath(receivedFolder, thing, key));
                 });
}

std::size_t thingRecordBytes(const Thing& thing,
                             const DerivedDigests& fingerprints,
                             std::size_t folderBytes) {
    // A record has, beside what the canonical one has, its fingerprint, and paths in the place of
    // digests.
    constexpr std::string_view fingerprintMember = R"("fingerprint":"",)";
    std::size_t bytes = fingerprints.recordBytes + fingerprintMember.size() + Digest::hexLength;
    for (const PayloadField& field : payloadFields(thing)) {
        if (!field.payload) continue;
        const std::size_t name = Uuid::textLength + std::string_view(".").size() + field.key.size();
        bytes += folderBytes + name - Digest::hexLength;
    }
    return bytes;
}

std::string payloadName(const Thing& thing, std::string_view key) {
    std::string name;
    appendPayloadName(name, thing, key);
    return name;
}

}  // namespace kelto
