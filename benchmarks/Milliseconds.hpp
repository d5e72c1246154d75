#pragma once

#include <chrono>

namespace kelto::bench {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

}  // namespace kelto::bench
