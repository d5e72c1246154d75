#pragma once

#include "kelto/foundation/Date.hpp"

namespace kelto {

/// The time of day. Nothing else in the program asks for it, so a test can drive it.
class Clock {
public:
    virtual ~Clock() = default;
    /// The current moment; it may step backward when the user sets the clock.
    [[nodiscard]] virtual Date now() = 0;
};

}  // namespace kelto
