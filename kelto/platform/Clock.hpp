#pragma once

#include <chrono>

#include "kelto/foundation/Date.hpp"

namespace kelto {

/// The time of day. Nothing else in the program asks for it, so a test can drive it.
class Clock {
public:
    virtual ~Clock() = default;
    /// The current moment; it may step backward when the user sets the clock.
    [[nodiscard]] virtual Date now() = 0;
    /// Time since some moment of the past, which only ever grows: for saying how long things take.
    [[nodiscard]] virtual std::chrono::nanoseconds uptime() = 0;
};

}  // namespace kelto
