#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/KnownFingerprints.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/Payload.hpp"

namespace kelto {

enum class RecordType : std::uint8_t { project, tag, thing };

/// A part of a request's text.
struct TextPlace {
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
};

/// Whether the text begins with that part: without a look at either where they are the same memory,
/// as they are when the host has sent its last request again.
[[nodiscard]] inline bool startsWith(std::string_view text, std::string_view part) {
    if (text.data() == part.data() && text.size() >= part.size()) return true;
    return text.starts_with(part);
}

/// What merging one live record of an earlier request came to.
struct SeenRecord {
    TextPlace text;
    Uuid identifier;
    RecordType type = RecordType::thing;
    /// Merging the same record again changes nothing, as long as the object, the projects and tags,
    /// and the files that the record names stay as they are.
    bool isSettled = false;
    std::uint8_t fileCount = 0;
    std::uint32_t firstFile = 0;
    ModelObject* object = nullptr;
    std::uint64_t changeNumber = 0;  ///< Of the object, right after the record was merged.
};

/// A file that a settled record names.
struct SeenFile {
    std::uint32_t folder = 0;  ///< Number of its folder's path.
    std::uint32_t nameOffset = 0;
    std::uint32_t nameSize = 0;
    Payload payload;
};

/// The host's last request and what became of it. Hosts send their whole library every time, nearly
/// all of it letter by letter as the time before: what is recognised need not be taken apart and
/// merged again. Never changed once it is made, since requests that wait still refer to it.
class RequestMemory {
public:
    LargeText text{""};
    LargeVector<SeenRecord> records;  ///< In their order; deletions are left out.
    LargeVector<SeenFile> files;      ///< By record.
    std::vector<std::string> folders;
    std::string fileNames;
    TextPlace knownText;
    std::shared_ptr<const KnownFingerprints> known;
    /// Pointers to objects are good while the library's number is this one.
    std::uint64_t populationNumber = 0;
    /// The state of projects and tags in which the records were merged; see LibraryIndex.
    std::uint64_t structureNumber = 0;

    [[nodiscard]] std::string_view textAt(TextPlace place) const {
        return text.view().substr(place.offset, place.size);
    }
    [[nodiscard]] std::span<const SeenFile> filesOf(const SeenRecord& record) const {
        return std::span(files).subspan(record.firstFile, record.fileCount);
    }
    [[nodiscard]] std::string_view nameOf(const SeenFile& file) const {
        return std::string_view(fileNames).substr(file.nameOffset, file.nameSize);
    }
};

}  // namespace kelto
