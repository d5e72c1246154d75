#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/keltoctl/CommandDescription.hpp"

namespace kelto::ctl {

/// How many slips of the fingers lie between two words: a letter too many, one missing, another
/// one, two neighbours exchanged (the distance of Damerau and Levenshtein, each letter touched
/// once).
[[nodiscard]] std::size_t slipsBetween(std::string_view written, std::string_view meant);

/// The candidate that was probably meant; none when none is near.
[[nodiscard]] std::optional<std::string> closest(std::string_view written,
                                                 const std::vector<std::string>& candidates);

/// What is wrong with a value that is none of the choices, and what may have been meant: one
/// clause.
[[nodiscard]] std::string unknownChoiceClause(const std::string& written,
                                              const std::vector<std::string>& choices);

/// What is wrong with a word that stands where `words` (the commands given so far) expect a command
/// or an option, and what may have been meant: one sentence.
[[nodiscard]] std::string unknownWordSentence(const ToolDescription& tool,
                                              const std::vector<std::string>& words,
                                              const std::string& unknown);

}  // namespace kelto::ctl
