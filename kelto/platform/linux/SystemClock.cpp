#include "kelto/platform/linux/SystemClock.hpp"

#include <ctime>

namespace kelto {

Date SystemClock::now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);  // fails for an unknown clock only
    return {static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9};
}

std::chrono::nanoseconds SystemClock::uptime() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace kelto
