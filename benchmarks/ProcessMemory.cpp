#include "benchmarks/ProcessMemory.hpp"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kelto::bench {

namespace {

std::size_t statusBytes(std::string_view key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) return std::stoul(line.substr(key.size())) * 1024;
    }
    throw std::runtime_error("/proc/self/status does not say how much memory is used");
}

}  // namespace

std::size_t residentBytes() {
    return statusBytes("VmRSS:");
}

std::size_t peakBytes() {
    return statusBytes("VmHWM:");
}

void resetPeak() {
    std::ofstream file("/proc/self/clear_refs");
    if (!(file << 5).flush()) throw std::runtime_error("the peak of memory cannot be reset");
}

}  // namespace kelto::bench
