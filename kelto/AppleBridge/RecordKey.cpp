#include "kelto/AppleBridge/RecordKey.hpp"

#include <array>

namespace kelto {

namespace {

constexpr std::array<std::string_view, recordKeyCount> texts{"recordType",
                                                             "uuid",
                                                             "createdAt",
                                                             "deleted",
                                                             "name",
                                                             "sortOrder",
                                                             "linkedFolderOwner",
                                                             "parent",
                                                             "kind",
                                                             "title",
                                                             "subtitle",
                                                             "content",
                                                             "note",
                                                             "urlString",
                                                             "fileName",
                                                             "typeIdentifier",
                                                             "fileSize",
                                                             "aspectRatio",
                                                             "isStarred",
                                                             "trashedAt",
                                                             "updatedAt",
                                                             "metadataJson",
                                                             "tags",
                                                             "project",
                                                             "data",
                                                             "thumbnail",
                                                             "icon",
                                                             "baseFileFingerprint"};

/// First, second and fifth letter and the length tell all keys apart (checked below), so that one
/// look and one comparison find a key.
constexpr std::size_t slotCount = 64;
constexpr std::size_t slotOf(std::string_view text) {
    const auto at = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    return (at(0) * 1 + at(1) * 1 + at(4) * 12 + text.size() * 8) % slotCount;
}

constexpr std::uint8_t noKey = 0xFF;

constexpr std::array<std::uint8_t, slotCount> makeSlots() {
    std::array<std::uint8_t, slotCount> slots{};
    slots.fill(noKey);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        // A second key in one slot makes this no constant expression, and the build fails.
        if (slots[slotOf(texts[i])] != noKey) throw "two record keys share a slot";
        slots[slotOf(texts[i])] = static_cast<std::uint8_t>(i);
    }
    return slots;
}

constexpr auto slots = makeSlots();

}  // namespace

std::string_view recordKeyText(RecordKey key) {
    return texts[static_cast<std::size_t>(key)];
}

std::optional<RecordKey> recordKey(std::string_view text) {
    const std::uint8_t index = slots[slotOf(text)];
    if (index == noKey || texts[index] != text) return std::nullopt;
    return static_cast<RecordKey>(index);
}

}  // namespace kelto
