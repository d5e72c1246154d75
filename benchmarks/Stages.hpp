#pragma once

#include <string>
#include <vector>

#include "benchmarks/Milliseconds.hpp"

namespace kelto::bench {

/// A part of an exchange, and how long it took.
struct Stage {
    std::string name;
    Milliseconds time{};
};

/// The stages of the exchange that ended last in this process, in their order. Empty as long as the
/// library keeps no profile; a table of stages is printed when it is not.
[[nodiscard]] std::vector<Stage> lastStages();

}  // namespace kelto::bench
