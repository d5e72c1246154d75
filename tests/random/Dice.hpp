#pragma once

#include <cstddef>
#include <cstdint>

namespace kelto::history {

/// Repeatable chance: the same seed rolls the same numbers on every machine and in every build
/// (SplitMix64; the standard library's distributions promise no such thing).
class Dice {
public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}

    std::uint64_t bits() {
        state_ += 0x9E3779B97F4A7C15ULL;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
        return mixed ^ (mixed >> 31);
    }

    /// A number from 0 to `count` - 1; `count` is not 0.
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(bits() % count); }
    bool chance(std::size_t percent) { return below(100) < percent; }

    /// One element of a container that is not empty.
    template <typename Container>
    const auto& pick(const Container& choices) {
        return choices[below(choices.size())];
    }

private:
    std::uint64_t state_;
};

}  // namespace kelto::history
