#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelto {

/// The sentences of docs/error-sentences.md: what stands between backticks in the first column of
/// its tables.
[[nodiscard]] std::vector<std::string> cataloguedSentences();

/// Whether a text is what a sentence of the catalogue announces: "<…>" in it stands for anything,
/// "…: " at its beginning and " …" at its end for the rest of a longer sentence.
[[nodiscard]] bool isAnnounced(std::string_view text, std::string_view sentence);

/// A text in the library's source that reads like a sentence or a part of one.
struct SourceText {
    std::string file;  ///< From the top folder on.
    std::string text;
};

/// All of them, but for those that stop the process with a fatal error.
[[nodiscard]] std::vector<SourceText> sentencesInSource();

}  // namespace kelto
