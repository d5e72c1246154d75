#pragma once

#include "kelto/platform/Clock.hpp"

namespace kelto {

/// The machine's own clock. Any thread.
class SystemClock final : public Clock {
public:
    [[nodiscard]] Date now() override;
    [[nodiscard]] std::chrono::nanoseconds uptime() override;
};

}  // namespace kelto
