#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelto {

/// Reserves room in an empty text that is to become large. A large text lies in fresh memory, whose
/// first touch costs more than writing it: where the system can, it is given in large pages.
void reserveLarge(std::string& text, std::size_t size);

/// A copy of a text that may be large.
[[nodiscard]] std::string largeCopy(std::string_view text);

}  // namespace kelto
