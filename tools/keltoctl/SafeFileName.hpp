#pragma once

#include <string>
#include <string_view>

namespace kelto::ctl {

/// A name from the library as the name of a file: never empty, "." or "..", without "/", NUL and
/// other control characters, well-formed UTF-8, and short enough for the file system with room for
/// a number.
[[nodiscard]] std::string safeFileName(std::string_view name);

/// "photo.jpg" as "photo (2).jpg"; 1 is the name itself.
[[nodiscard]] std::string numberedFileName(const std::string& name, int number);

}  // namespace kelto::ctl
