#pragma once

#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// The entities of a library: Project, Tag, Thing.
[[nodiscard]] const Schema& librarySchema();

}  // namespace kelto
