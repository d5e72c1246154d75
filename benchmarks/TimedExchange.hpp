#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "benchmarks/Milliseconds.hpp"
#include "kelto/foundation/WorkCounters.hpp"

namespace kelto::bench {

/// What one exchange has cost.
struct ExchangeCost {
    Milliseconds time{};  ///< From the call to the end of the turn of the main loop that answered.
    WorkCounters work;
    std::size_t peakBytes = 0;  ///< The process's resident memory at its highest, the host's too.
};

/// Runs one exchange through the C functions on this thread's main loop. What the host does with
/// the response, copying it into `response`, is not part of the time. Throws the sentence of an
/// error envelope.
ExchangeCost runExchange(const char* request, std::string& response);

/// The same for a host that looks only at the beginning of the response and keeps nothing of it.
ExchangeCost runExchangeAndForget(const char* request);

/// The path of the store in the App Group container.
[[nodiscard]] std::string storePath();

}  // namespace kelto::bench
