#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/KnownFingerprints.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/foundation/TextHash.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/Payload.hpp"

namespace kelto {

enum class RecordType : std::uint8_t { project, tag, thing };

/// What is remembered of a JSON object's text: enough to recognise it.
struct SeenText {
    TextHash hash;
    std::size_t size = 0;

    [[nodiscard]] static SeenText of(std::string_view text) {
        return {TextHash::of(text), text.size()};
    }
    /// Whether it may be what `text` begins with, at a glance: mostly not, if it is another one.
    [[nodiscard]] bool mayBegin(std::string_view text) const {
        return size > 0 && text.size() >= size && text[size - 1] == '}';
    }
    /// Whether `text` begins with it. Looks at as much of the text as this one is long.
    [[nodiscard]] bool begins(std::string_view text) const {
        return mayBegin(text) && TextHash::of(text.substr(0, size)) == hash;
    }
};

/// What merging one live record of an earlier request came to.
struct SeenRecord {
    TextHash textHash;
    Uuid identifier;
    std::uint32_t textSize = 0;
    RecordType type = RecordType::thing;
    /// Merging the same record again changes nothing, as long as the object, the projects and tags,
    /// and the files that the record names stay as they are.
    bool isSettled = false;
    std::uint8_t fileCount = 0;
    std::uint32_t firstFile = 0;
    ModelObject* object = nullptr;
    std::uint64_t changeNumber = 0;  ///< Of the object, right after the record was merged.

    [[nodiscard]] SeenText text() const { return {textHash, textSize}; }
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
/// merged again. Its text is not kept, only what tells it from others. Never changed once it is
/// made, since requests that wait still refer to it.
class RequestMemory {
public:
    std::uint64_t textNumber = 0;     ///< Of the whole request; see LargeText.
    LargeVector<SeenRecord> records;  ///< In their order; deletions are left out.
    LargeVector<SeenFile> files;      ///< By record.
    std::vector<std::string> folders;
    std::string fileNames;
    SeenText knownText;  ///< Of the known fingerprints.
    std::shared_ptr<const KnownFingerprints> known;
    /// Pointers to objects are good while the library's number is this one.
    std::uint64_t populationNumber = 0;
    /// The state of projects and tags in which the records were merged; see LibraryIndex.
    std::uint64_t structureNumber = 0;
    /// That of the last change of any object when the merge was saved.
    std::uint64_t changeNumber = 0;
    /// Whether the records are all that the request had, with no deletions among them, in the one
    /// list of records that it had.
    bool isComplete = false;
    /// Whether all records are settled, and none was overtaken by another of the same request.
    bool isSettled = false;

    [[nodiscard]] std::span<const SeenFile> filesOf(const SeenRecord& record) const {
        return std::span(files).subspan(record.firstFile, record.fileCount);
    }
    [[nodiscard]] std::string_view nameOf(const SeenFile& file) const {
        return std::string_view(fileNames).substr(file.nameOffset, file.nameSize);
    }
};

}  // namespace kelto
