#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelto {

// All texts are UTF-8. Where a text is not well formed, each maximal ill-formed subsequence counts
// as one U+FFFD.

/// `bytes` with every maximal ill-formed subsequence replaced by U+FFFD (Unicode 15, section 3.9,
/// "U+FFFD substitution of maximal subparts"). NUL and byte-order marks are kept.
[[nodiscard]] std::string repairedUtf8(std::string_view bytes);
[[nodiscard]] bool isWellFormedUtf8(std::string_view bytes);

/// Full, locale-independent case mapping (Unicode SpecialCasing, without conditions on language).
[[nodiscard]] std::string upperCased(std::string_view text);
[[nodiscard]] std::string lowerCased(std::string_view text);

/// The canonical composed form (Unicode Annex 15, NFC).
[[nodiscard]] std::string canonicalComposition(std::string_view text);

/// Whether `left` stands strictly before `right` under a case-insensitive comparison in the current
/// locale (LC_ALL, LC_COLLATE, LANG; the root order when none is set, or "C" or "POSIX" or
/// "C.UTF-8"). Accents count, letter case and canonical form do not (so ß is ss), digits compare as
/// characters. The variables are read at the first comparison of the process, and only then.
[[nodiscard]] bool orderedBeforeCaseInsensitively(std::string_view left, std::string_view right);

/// The first `count` user-perceived characters (extended grapheme clusters, Unicode Annex 29; a CR
/// LF pair is one), or the whole text when it has fewer. A view into `text`.
[[nodiscard]] std::string_view graphemePrefix(std::string_view text, std::size_t count);

/// The first piece between line breaks (LF, VT, FF, CR, CR LF, U+0085, U+2028, U+2029) that is not
/// empty, as a view into `text`; an empty view when every line is empty.
[[nodiscard]] std::string_view firstNonEmptyLine(std::string_view text);

/// `text` with every occurrence of `pattern` (not empty) replaced, from left to right.
[[nodiscard]] std::string replacingAll(std::string_view text,
                                       std::string_view pattern,
                                       std::string_view replacement);

/// Whether `text` begins with a character that turns the direction of the text around it, so that a
/// name or a sentence could be read as another one: U+061C, U+200E, U+200F, U+202A to U+202E,
/// U+2066 to U+2069.
[[nodiscard]] bool beginsWithDirectionMark(std::string_view text);

}  // namespace kelto
