#pragma once

#include <span>

#include "kelto/model/Thing.hpp"

namespace kelto {

/// Has every one of the things remember its fingerprints. Where many have to be worked out or
/// compared, as in the first exchange of a process, a second thread helps.
void rememberFingerprints(std::span<const Thing* const> things);

}  // namespace kelto
