#pragma once

#include "kelto/platform/Random.hpp"

namespace kelto {

/// The kernel's random numbers. Any thread.
class SystemRandom final : public Random {
public:
    [[nodiscard]] Uuid uuid() override;
    [[nodiscard]] std::uint64_t bits() override;
};

}  // namespace kelto
