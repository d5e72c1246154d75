#include <chrono>

#include <gtest/gtest.h>

#include "kelto/platform/linux/SystemClock.hpp"

namespace kelto {
namespace {

double secondsOfTheStandardClock() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

TEST(SystemClock, TellsTheTimeOfDay) {
    const double before = secondsOfTheStandardClock();
    const double now = SystemClock().now().secondsSince1970;
    EXPECT_NEAR(now, before, 60.0);
}

}  // namespace
}  // namespace kelto
