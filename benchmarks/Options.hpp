#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelto::bench {

/// What the program was asked for.
struct Options {
    std::vector<std::string> only;   ///< Workloads; empty for all.
    std::vector<std::size_t> items;  ///< Sizes; empty for the usual ones.
    std::uint64_t largeBytes = std::uint64_t{4} << 30U;
    std::size_t runs = 7;
    bool growth = false;
    std::string plot = "docs/performance-growth.svg";
    bool json = false;

    // A process of the run, started by the program itself.
    std::string job;
    std::string folder;
    std::string shape = "usual";
    std::size_t sample = 0;

    [[nodiscard]] bool wants(const std::string& workload) const;
};

/// Reads the command line; a number instead when the program has to end with it at once.
[[nodiscard]] std::optional<int> readOptions(int count, char** arguments, Options& options);

}  // namespace kelto::bench
