#pragma once

#include <optional>
#include <string>

#include "kelto/foundation/Json.hpp"
#include "tests/random/LibraryModel.hpp"

namespace kelto::history {

/// The first thing in which a response is not what the model expects; none when it is. Keys may
/// stand in any order, records and elements may not; numbers are compared as they are written.
[[nodiscard]] std::optional<std::string> differenceOf(const Outcome& expected,
                                                      const JsonValue& response);

}  // namespace kelto::history
