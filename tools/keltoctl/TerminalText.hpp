#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelto::ctl {

/// `text` as it may be shown on a terminal: what would steer the terminal or the direction of
/// writing (control characters, bidirectional controls, line separators, broken UTF-8) becomes "?".
[[nodiscard]] std::string terminalSafe(std::string_view text);

/// A JSON text as it may be printed: broken UTF-8 (of file names: the library's texts have none) is
/// repaired, and the control characters that JSON does not escape by itself are written as escapes.
[[nodiscard]] std::string terminalSafeJson(std::string_view json);

/// How many columns a terminal needs for a text that is terminalSafe.
[[nodiscard]] std::size_t displayWidth(std::string_view text);

/// Cut to at most `width` columns, between two user-perceived characters; the last is "…" then.
[[nodiscard]] std::string cutTo(std::string_view text, std::size_t width);

/// The same, filled with blanks to exactly that width.
[[nodiscard]] std::string fitted(std::string_view text, std::size_t width);

/// The lines that a text takes when none may be wider than `width`: broken at blanks where there
/// are some. At least one.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// "1 file", "3 files"; the plural is made with "s".
[[nodiscard]] std::string counted(std::size_t count, std::string_view noun);

/// "7 bytes", "1.2 MB": decimal units.
[[nodiscard]] std::string byteCount(std::int64_t bytes);

}  // namespace kelto::ctl
