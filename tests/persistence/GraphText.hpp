#pragma once

#include <string>
#include <vector>

#include "kelto/persistence/ModelContext.hpp"

namespace kelto {

/// All that a library says, one line for each object in its order: every field, and the objects at
/// the other end of every relationship.
[[nodiscard]] std::vector<std::string> linesOf(ModelContext& context);

}  // namespace kelto
