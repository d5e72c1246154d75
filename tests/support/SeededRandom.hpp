#pragma once

#include <random>

#include "kelto/platform/Random.hpp"

namespace kelto {

/// The same numbers in every run with the same seed.
class SeededRandom final : public Random {
public:
    explicit SeededRandom(std::uint64_t seed) : engine_(seed) {}

    [[nodiscard]] Uuid uuid() override;
    [[nodiscard]] std::uint64_t bits() override { return engine_(); }

private:
    std::mt19937_64 engine_;  // its numbers are fixed by the C++ standard
};

}  // namespace kelto
