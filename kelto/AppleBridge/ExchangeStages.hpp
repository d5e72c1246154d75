#pragma once

#include <chrono>
#include <utility>

#include "kelto/platform/Clock.hpp"

namespace kelto {

/// How long each stage of an exchange took.
struct ExchangeStages {
    std::chrono::nanoseconds reading{};    ///< The request's text.
    std::chrono::nanoseconds opening{};    ///< The account, and the store with the objects in it.
    std::chrono::nanoseconds merging{};    ///< The host's records, and the files that they name.
    std::chrono::nanoseconds saving{};     ///< What has changed.
    std::chrono::nanoseconds exporting{};  ///< The response, and the files for the host.
};

/// Measures one stage after the other.
class StageWatch {
public:
    explicit StageWatch(Clock& clock) : clock_(clock), start_(clock.uptime()) {}

    /// The time since the last call, or since the beginning.
    [[nodiscard]] std::chrono::nanoseconds lap() {
        const auto end = clock_.uptime();
        return end - std::exchange(start_, end);
    }

private:
    Clock& clock_;
    std::chrono::nanoseconds start_;
};

}  // namespace kelto
