#include "tests/random/ConflictCopy.hpp"

#include <cctype>
#include <cstddef>
#include <exception>
#include <string_view>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "tests/random/ModelRecords.hpp"

namespace kelto::history {

namespace {

constexpr const char* conflictNote = " (iCloud conflict)";

/// A copy lies beside the linked file, not under its name.
std::string withoutLinkedPath(const std::string& metadataJson) {
    try {
        JsonValue metadata = JsonValue::parse(metadataJson);
        if (metadata.object() == nullptr) return metadataJson;
        metadata.removeMember("linkedRelativePath");
        return metadata.text();
    } catch (const std::exception&) {
        return metadataJson;  // no JSON at all
    }
}

/// Characters that turn the direction of writing; a name with one in its extension has none.
constexpr unsigned directionMarks[] = {
    0x061C, 0x200E, 0x200F, 0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x2069};

std::string utf8(unsigned codePoint) {
    const auto byte = [](unsigned value) { return static_cast<char>(value); };
    if (codePoint < 0x800) return {byte(0xC0 | codePoint >> 6), byte(0x80 | (codePoint & 0x3F))};
    return {byte(0xE0 | codePoint >> 12),
            byte(0x80 | (codePoint >> 6 & 0x3F)),
            byte(0x80 | (codePoint & 0x3F))};
}

/// Where the last component's extension begins (at its dot); npos when the name has none.
std::size_t extensionDot(std::string_view name) {
    const std::size_t slash = name.rfind('/');
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot <= start || dot + 1 == name.size()) return name.npos;
    const std::string_view stem = name.substr(start, dot - start);
    if (stem == "." || stem == "..") return name.npos;
    if (name.find(' ', dot) != name.npos) return name.npos;
    for (const unsigned mark : directionMarks) {
        if (name.find(utf8(mark), dot) != name.npos) return name.npos;
    }
    return dot;
}

/// The note stands before the extension.
std::string conflictFileName(const std::string& fileName) {
    if (fileName.empty()) return "";
    std::string_view name = fileName;
    while (name.size() > 1 && name.ends_with('/')) name.remove_suffix(1);
    const std::size_t dot = extensionDot(name);
    if (dot == std::string_view::npos) return fileName + conflictNote;
    return std::string(name.substr(0, dot)) + conflictNote + std::string(name.substr(dot));
}

}  // namespace

Id conflictId(const ModelThing& thing) {
    std::string upperCase = thing.id;
    for (char& c : upperCase) c = static_cast<char>(std::toupper(c));
    Id id = sha256(upperCase + fileFingerprint(thing)).hex().substr(0, 32);
    for (const std::size_t hyphen : {8U, 13U, 18U, 23U}) id.insert(hyphen, "-");
    return id;
}

ModelThing conflictCopy(const ModelThing& thing, Seconds now) {
    ModelThing copy = thing;
    copy.id = conflictId(thing);
    copy.title += conflictNote;
    copy.fileName = conflictFileName(thing.fileName);
    copy.updatedAt = now;
    copy.trashedAt.reset();
    copy.metadataJson = withoutLinkedPath(thing.metadataJson);
    return copy;
}

}  // namespace kelto::history
