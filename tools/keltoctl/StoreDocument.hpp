#pragma once

#include <string>

#include "kelto/foundation/Json.hpp"
#include "kelto/persistence/StoreFinding.hpp"

namespace kelto::ctl {

// What was found in a store, for a person and for a program.

/// One line when it is healthy, else a line for each finding.
[[nodiscard]] std::string textOf(const std::string& storePath, const StoreReport& report);
[[nodiscard]] JsonValue toJson(const std::string& storePath, const StoreReport& report);

}  // namespace kelto::ctl
