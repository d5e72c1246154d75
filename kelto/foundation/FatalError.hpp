#pragma once

#include <source_location>
#include <string_view>

namespace kelto {

/// Ends the process because of a bug that correct input cannot cause. Writes one line to standard
/// error, "Fatal error: <what> (<file>:<line>)", and aborts. Never returns, never throws.
[[noreturn]] void fatalError(std::string_view what,
                             std::source_location where = std::source_location::current()) noexcept;

/// The same, with a source position named by the caller: hosts know a few positions by their fixed
/// names, which must not move with the code.
[[noreturn]] void fatalError(std::string_view what, std::string_view file, int line) noexcept;

}  // namespace kelto
