#include "kelto/foundation/Date.hpp"

#include <cmath>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

std::optional<std::int64_t> Date::representableMilliseconds() const {
    // Both bounds are exact as doubles; the largest integer itself is not, and would let 2^63 pass.
    constexpr double lowest = -0x1p63;
    constexpr double beyond = 0x1p63;
    const double rounded = std::round(secondsSince1970 * 1000.0);
    if (rounded >= lowest && rounded < beyond) return static_cast<std::int64_t>(rounded);
    return std::nullopt;  // NaN fails both comparisons
}

std::int64_t Date::milliseconds() const {
    const std::optional<std::int64_t> representable = representableMilliseconds();
    if (!representable) fatalError("A date lies outside of the milliseconds that can be written");
    return *representable;
}

}  // namespace kelto
