#pragma once

#include <functional>

#include "kelto/foundation/Sha256.hpp"

namespace kelto {

/// The bytes of a file field, as an immutable handle: they are named by their digest and read from
/// the payload storage when somebody needs them. Equal handles are equal bytes, so comparing,
/// copying and fingerprinting a payload of any size costs nothing.
struct Payload {
    Digest digest;

    friend auto operator<=>(const Payload&, const Payload&) = default;
};

}  // namespace kelto
