#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/Stages.hpp"
#include "benchmarks/TimedExchange.hpp"

namespace kelto::bench {

/// One measured exchange with its floor.
struct Sample {
    std::string workload;
    std::size_t items = 0;
    ExchangeCost cost;
    Milliseconds floor{};
    std::size_t requestBytes = 0;
    std::size_t responseBytes = 0;
    /// W6: the time of an exchange without news on the same library right afterwards.
    Milliseconds unchanged{};
    /// Memory after W1, and W7: resident, without the host's texts.
    std::size_t residentBytes = 0;
    /// W7: resident before the exchange.
    std::size_t idleBytes = 0;
    std::vector<Stage> stages;  ///< Empty when the library keeps no profile.
};

/// One line of JSON, as the processes of a run tell each other.
[[nodiscard]] std::string textOf(const Sample& sample);
[[nodiscard]] Sample readSample(std::string_view line);

/// Tells the process that started this one about a sample.
void tell(const Sample& sample);

}  // namespace kelto::bench
