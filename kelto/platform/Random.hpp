#pragma once

#include <cstdint>

#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Randomness. Nothing else in the program asks for it, so that a run can be repeated from its
/// seed.
class Random {
public:
    virtual ~Random() = default;
    /// A new random UUID (RFC 9562, version 4).
    [[nodiscard]] virtual Uuid uuid() = 0;
    /// 64 random bits, for the names of temporary files.
    [[nodiscard]] virtual std::uint64_t bits() = 0;
};

}  // namespace kelto
