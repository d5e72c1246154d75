#pragma once

#include <string_view>

namespace kelto {

/// Ends the process because of a bug that correct input cannot cause. Writes one line to standard
/// error, "Fatal error: <what> (<file>:<line>)", and aborts. Never returns, never throws.
///
/// The position is the caller's own unless it names another one: hosts know a few positions by
/// their fixed names, which must not move with the code. (The builtins stand in for
/// std::source_location, which clang++ 14 does not have with this standard library.)
[[noreturn]] void fatalError(std::string_view what,
                             std::string_view file = __builtin_FILE(),
                             int line = __builtin_LINE()) noexcept;

}  // namespace kelto
