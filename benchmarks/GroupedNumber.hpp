#pragma once

#include <cstdint>
#include <string>

namespace kelto::bench {

/// 1234567 as 1,234,567.
[[nodiscard]] std::string grouped(std::uint64_t number);

}  // namespace kelto::bench
