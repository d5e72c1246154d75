#pragma once

#include <cstdint>
#include <functional>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// How many bytes there were, and the digest of them.
struct FileDigest {
    std::uint64_t size = 0;
    Digest digest;
};

/// Of what follows in `source`, to its end, read through a fixed buffer. `progress` is told the
/// length of each piece. Throws the file's error.
[[nodiscard]] FileDigest digestToEnd(File& source,
                                     const std::function<void(std::uint64_t)>& progress = {});

}  // namespace kelto
