#include "kelto/AppleBridge/ConflictPreservation.hpp"

#include <algorithm>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Sha256.hpp"

namespace kelto {

namespace {

constexpr std::string_view conflictSuffix = " (iCloud conflict)";

}  // namespace

Uuid conflictIdentifier(const Uuid& thing, std::string_view fingerprint) {
    const Digest digest = sha256(thing.upperCaseText() + std::string(fingerprint));
    Uuid identifier;
    std::copy_n(digest.bytes.begin(), identifier.bytes.size(), identifier.bytes.begin());
    return identifier;
}

std::string conflictFileName(std::string_view fileName) {
    if (fileName.empty()) return {};
    const std::string_view extension = pathExtension(fileName);
    std::string name(withoutPathExtension(fileName));
    name += conflictSuffix;
    if (!extension.empty()) {
        name += '.';
        name += extension;
    }
    return name;
}

std::string conflictMetadata(std::string_view metadataJSON) {
    try {
        JsonValue metadata = JsonValue::parse(metadataJSON);
        if (metadata.object() == nullptr) return std::string(metadataJSON);
        metadata.removeMember("linkedRelativePath");
        return metadata.text();
    } catch (const PlatformError&) {
        return std::string(metadataJSON);
    }
}

void preserveConflict(const Thing& thing,
                      std::string_view fingerprint,
                      UniqueIndex<Thing>& things,
                      ModelContext& context) {
    const Uuid identifier = conflictIdentifier(thing.uuid(), fingerprint);
    if (things.contains(identifier)) return;

    Thing& copy = context.insert<Thing>(thing.kind(), thing.title() + std::string(conflictSuffix));
    copy.setUuid(identifier);
    copy.setKindRaw(thing.kindRaw());
    copy.setSubtitle(thing.subtitle());
    copy.setContent(thing.content());
    copy.setNote(thing.note());
    copy.setUrlString(thing.urlString());
    copy.setFileName(conflictFileName(thing.fileName()));
    copy.setTypeIdentifier(thing.typeIdentifier());
    copy.setFileSize(thing.fileSize());
    copy.setData(thing.data());
    copy.setThumbnailData(thing.thumbnailData());
    copy.setIconData(thing.iconData());
    copy.setAspectRatio(thing.aspectRatio());
    copy.setIsStarred(thing.isStarred());
    copy.setCreatedAt(thing.createdAt());
    copy.touch();
    copy.setTrashedAt(std::nullopt);
    copy.setProject(thing.project());
    copy.setTags(thing.tags());
    copy.setMetadataJSON(conflictMetadata(thing.metadataJSON()));
    (void)things.add(copy);
}

}  // namespace kelto
