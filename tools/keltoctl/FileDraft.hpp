#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "kelto/foundation/Json.hpp"
#include "kelto/model/ThingKind.hpp"

namespace kelto::ctl {

/// What a file says of the thing that is to stand for it.
struct FileDraft {
    ThingKind kind = ThingKind::document;
    std::string title;
    std::string content;
    std::string urlString;
    std::string typeIdentifier;
    double aspectRatio = 1.0;
    JsonMembers metadata;
    /// Whether the bytes belong to the thing. A note, a quote or a link is all in its texts.
    bool isPayload = true;
};

/// Endings that make a note or a quote of a file of text.
inline constexpr std::array<std::string_view, 3> textEndings{".note.md", ".note.txt", ".quote.txt"};

/// Reads the file at `path` by the conventions of its `name`: "*.note.md" and "*.note.txt" are
/// notes; "*.quote.txt" is a quote, whose last line may be "— author"; ".webloc", ".url" and
/// ".desktop" of type Link are web addresses; everything else is an image, a video or a document by
/// its extension. A link file without an address, and a note above 4 MB, are documents. Throws
/// Refusal when the file cannot be read.
[[nodiscard]] FileDraft draftOfFile(const std::string& name, const std::string& path);

/// The same without the conventions: an image, a video or a document.
[[nodiscard]] FileDraft draftOfPayload(const std::string& name, const std::string& path);

/// A thing that stands for a web address. Throws Refusal when it is none: without "scheme://host".
[[nodiscard]] FileDraft draftOfAddress(const std::string& address);

/// Facts `added` to a thing's metadata text; what the text says besides stays. A text that is no
/// JSON object is replaced.
[[nodiscard]] std::string mergedMetadata(const std::string& metadataJson, const JsonMembers& added);

}  // namespace kelto::ctl
