#pragma once

#include <cstdint>

#include "kelto/foundation/Date.hpp"

namespace kelto {

/// A moment as it travels: whole milliseconds since 1970-01-01 00:00 UTC, halves rounded away from
/// zero. One that does not fit a signed 64-bit integer stops the process: the merge makes sure that
/// none is ever saved.
[[nodiscard]] std::int64_t wireTimestamp(const Date& date);

}  // namespace kelto
