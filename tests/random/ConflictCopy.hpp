#pragma once

#include "tests/random/ModelLibrary.hpp"

namespace kelto::history {

/// The identifier of a thing's conflict copy: the same thing in the same version always gives the
/// same one, so that a version is never kept twice.
[[nodiscard]] Id conflictId(const ModelThing& thing);

/// The store's version of a thing, kept as a thing of its own beside the linked file: with another
/// name, never in the trash, changed now.
[[nodiscard]] ModelThing conflictCopy(const ModelThing& thing, Seconds now);

}  // namespace kelto::history
