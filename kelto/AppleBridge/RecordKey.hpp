#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kelto {

/// The keys of a host's record that the library reads.
enum class RecordKey : std::uint8_t {
    recordType,
    uuid,
    createdAt,
    deleted,
    name,
    sortOrder,
    linkedFolderOwner,
    parent,
    kind,
    title,
    subtitle,
    content,
    note,
    urlString,
    fileName,
    typeIdentifier,
    fileSize,
    aspectRatio,
    isStarred,
    trashedAt,
    updatedAt,
    metadataJson,
    tags,
    project,
    data,
    thumbnail,
    icon,
    baseFileFingerprint,
};

inline constexpr std::size_t recordKeyCount =
    static_cast<std::size_t>(RecordKey::baseFileFingerprint) + 1;

/// The key's text on the wire.
[[nodiscard]] std::string_view recordKeyText(RecordKey key);
/// The key of exactly that text; none for keys that nobody reads.
[[nodiscard]] std::optional<RecordKey> recordKey(std::string_view text);

}  // namespace kelto
