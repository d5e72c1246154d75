#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kelto/foundation/JsonReader.hpp"

namespace kelto::bench {

/// The columns of the floor's table, which are the keys of a record.
enum class FloorColumn : std::uint8_t {
    recordType,
    uuid,
    createdAt,
    updatedAt,
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
    metadataJson,
    project,
    tags,
    data,
    name,
    sortOrder,
    linkedFolderOwner,
    parent,
};
inline constexpr std::array<std::string_view, 23> floorColumnNames{
    "recordType", "uuid",        "createdAt", "updatedAt",         "kind",     "title",
    "subtitle",   "content",     "note",      "urlString",         "fileName", "typeIdentifier",
    "fileSize",   "aspectRatio", "isStarred", "metadataJson",      "project",  "tags",
    "data",       "name",        "sortOrder", "linkedFolderOwner", "parent"};

/// A text, number or word of a record, and what it is.
struct FloorValue {
    enum class Kind : std::uint8_t { none, text, number, boolean };
    Kind kind = Kind::none;
    std::string_view text;
};

/// One record of the request, its values views into the request.
struct FloorRecord {
    static constexpr std::size_t tagLimit = 8;

    std::array<FloorValue, floorColumnNames.size()> values;
    std::array<std::string_view, tagLimit> tags;
    std::size_t tagCount = 0;
    std::array<std::string_view, 3> payloadPaths;  ///< data, thumbnail, icon, as far as they stand
    std::size_t payloadCount = 0;

    [[nodiscard]] const FloorValue& operator[](FloorColumn column) const {
        return values[static_cast<std::size_t>(column)];
    }
};

enum class FloorDetail {
    paths,   ///< The payload paths; everything else is checked and passed over.
    values,  ///< All values, to be stored.
};

/// Walks over a request's JSON once, from front to back, checking all of it.
class FloorRequest {
public:
    explicit FloorRequest(std::string_view text);

    /// Reads the next record; false when there is none, and then the whole request is read.
    [[nodiscard]] bool nextRecord(FloorRecord& record, FloorDetail detail);

private:
    void readPaths(FloorRecord& record);
    void readValues(FloorRecord& record);
    void readTags(FloorRecord& record);
    [[nodiscard]] FloorValue readValue();

    JsonReader reader_;
};

}  // namespace kelto::bench
