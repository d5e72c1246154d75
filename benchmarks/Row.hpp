#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/Sample.hpp"

namespace kelto::bench {

/// The samples of one workload and size, summed up: medians of times and sizes, and of each kind of
/// work the most that any of them did. The fastest times say how much the machine was disturbed.
struct Row {
    std::string workload;
    std::size_t items = 0;
    std::size_t runs = 0;
    double milliseconds = 0;
    double floorMilliseconds = 0;
    double fastestMilliseconds = 0;
    double fastestFloorMilliseconds = 0;
    double unchangedMilliseconds = 0;
    std::size_t requestBytes = 0;
    std::size_t responseBytes = 0;
    std::size_t peakBytes = 0;
    std::size_t residentBytes = 0;
    std::size_t idleBytes = 0;
    WorkCounters work;
    std::vector<Stage> stages;

    [[nodiscard]] double ratio() const { return milliseconds / floorMilliseconds; }
};

/// In the order of workloads, then of sizes.
[[nodiscard]] std::vector<Row> sumUp(const std::vector<Sample>& samples);

/// What a row should come to.
struct Goal {
    std::string text;
    bool isMet = false;
};

/// None for a row that is only there to be looked at.
[[nodiscard]] std::optional<Goal> goalOf(const Row& row);

}  // namespace kelto::bench
