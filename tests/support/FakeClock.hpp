#pragma once

#include "kelto/platform/Clock.hpp"

namespace kelto {

/// A clock that stands still until the test moves it.
class FakeClock final : public Clock {
public:
    Date current{1'750'000'000.0};
    double secondsPerReading = 0;  ///< How far the clock moves after each reading; may be negative.
    std::chrono::nanoseconds uptimePerReading{};

    [[nodiscard]] Date now() override {
        const Date reading = current;
        current.secondsSince1970 += secondsPerReading;
        return reading;
    }
    [[nodiscard]] std::chrono::nanoseconds uptime() override { return up_ += uptimePerReading; }

private:
    std::chrono::nanoseconds up_{};
};

}  // namespace kelto
