#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"

namespace kelto::ctl {

// The records of an exchange as values. Identifiers are lower-case UUID texts, times milliseconds
// since 1970. Reading is lenient: what is missing or of another type keeps its default.

struct ProjectRecord {
    std::string id;
    std::int64_t createdAt = 0;
    std::string name;
    std::int64_t sortOrder = 0;
    std::string linkedFolderOwner;  ///< not empty: the project mirrors a folder on a disk
    std::optional<std::string> parent;

    friend bool operator==(const ProjectRecord&, const ProjectRecord&) = default;
};

struct TagRecord {
    std::string id;
    std::int64_t createdAt = 0;
    std::string name;

    friend bool operator==(const TagRecord&, const TagRecord&) = default;
};

struct ThingRecord {
    std::string id;
    std::int64_t createdAt = 0;
    std::int64_t updatedAt = 0;
    std::optional<std::int64_t> trashedAt;
    std::string kind;
    std::string title;
    std::string subtitle;
    std::string content;
    std::string note;
    std::string urlString;
    std::string fileName;
    std::string typeIdentifier;
    std::int64_t fileSize = 0;
    double aspectRatio = 1.0;
    bool isStarred = false;
    std::string metadataJson;
    std::vector<std::string> tags;  ///< identifiers
    std::optional<std::string> project;
    // Paths of payload files inside the exchange folder.
    std::optional<std::string> data;
    std::optional<std::string> thumbnail;
    std::optional<std::string> icon;
    std::string fileFingerprint;  ///< as received; empty when it never was
    std::string fingerprint;      ///< as received; empty when it never was
    /// Sent along with a changed thing: the fileFingerprint of the state the change started from.
    std::optional<std::string> baseFileFingerprint;

    friend bool operator==(const ThingRecord&, const ThingRecord&) = default;
};

[[nodiscard]] ProjectRecord projectFrom(const JsonValue& record);
[[nodiscard]] TagRecord tagFrom(const JsonValue& record);
[[nodiscard]] ThingRecord thingFrom(const JsonValue& record);

/// The record to send. It carries every field: one that is left out would be reset.
[[nodiscard]] JsonValue toRecord(const ProjectRecord& project);
[[nodiscard]] JsonValue toRecord(const TagRecord& tag);
[[nodiscard]] JsonValue toRecord(const ThingRecord& thing);

/// `recordType` is "Project", "Tag" or "Thing".
[[nodiscard]] JsonValue deletionRecord(std::string_view recordType, std::string_view id);

}  // namespace kelto::ctl
