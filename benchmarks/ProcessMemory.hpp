#pragma once

#include <cstddef>

namespace kelto::bench {

[[nodiscard]] std::size_t residentBytes();
/// The highest resident size since resetPeak(), or since the process began.
[[nodiscard]] std::size_t peakBytes();
/// Lets the peak begin anew at what is resident now.
void resetPeak();

}  // namespace kelto::bench
