#pragma once

#include <cstdint>

#include "kelto/model/Thing.hpp"

namespace kelto {

/// In short, what the fingerprints of a thing depend on, and these fingerprints themselves: another
/// value of any of it gives another number, but for one case in 2^64. No protection against
/// somebody who looks for such a case: whoever can write the row can write what he likes.
[[nodiscard]] std::uint64_t fingerprintBasis(const Thing& thing, const DerivedDigests& digests);

/// Whether the fingerprints that came with the thing's row are those of the thing as it is: another
/// program may have changed the row, a library with another idea of fingerprints written it.
/// Any thread, as long as nobody changes the objects meanwhile.
[[nodiscard]] bool hasSoundStoredFingerprints(const Thing& thing);

/// The fingerprints that the thing remembers, or those of its row when they are sound, which it
/// remembers then; nullptr when they have to be worked out.
[[nodiscard]] const DerivedDigests* heldFingerprints(const Thing& thing);

}  // namespace kelto
