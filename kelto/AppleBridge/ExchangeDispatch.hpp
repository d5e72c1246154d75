#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "kelto/AppleBridge/RequestIntake.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/Task.hpp"
#include "kelto/platform/Platform.hpp"
#include "kelto_apple.h"

namespace kelto {

/// Answers one request with the response text, or throws. Called on the main thread, and must be
/// back there when the task ends.
using ExchangeFunction = std::function<Task<LargeText>(LargeText request)>;

/// Runs one exchange as a task of the main executor and hands its answer to `callback`, exactly
/// once: the response, or the error envelope of whatever was thrown. A callback of nullptr gets
/// nothing; the exchange runs all the same. `request` is copied, with ill-formed UTF-8 repaired.
/// Returns at once. Any thread. The platform's main executor outlives the exchange.
void dispatchExchange(const Platform& platform,
                      ExchangeFunction exchange,
                      RequestIntake& intake,
                      std::string_view request,
                      std::intptr_t context,
                      kelto_apple_callback callback);

}  // namespace kelto
