#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "kelto/foundation/Json.hpp"

namespace kelto {

/// Compares what `actual` makes of each "input" of tests/golden/<name> with the "expected" beside
/// it. With KELTO_REWRITE_GOLDEN=1 in the environment it writes the actual values into the file
/// instead, for a review of the difference: what hosts have kept must never change.
void expectGolden(const std::string& name,
                  const std::function<JsonMembers(const JsonValue& input)>& actual);

/// The text of a member of an input; empty when it is not there.
[[nodiscard]] std::string goldenText(const JsonValue& input, std::string_view key);

}  // namespace kelto
