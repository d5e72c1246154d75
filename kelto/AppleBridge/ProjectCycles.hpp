#pragma once

#include <vector>

#include "kelto/model/Project.hpp"

namespace kelto {

/// Whether one of the projects is its own ancestor. Every project is looked at once, however deep
/// the tree is.
[[nodiscard]] bool hasProjectCycle(const std::vector<const Project*>& projects);

}  // namespace kelto
