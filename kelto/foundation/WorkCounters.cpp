#include "kelto/foundation/WorkCounters.hpp"

#include <array>
#include <atomic>

namespace kelto {

namespace {

constinit std::array<std::atomic<std::uint64_t>, workKindCount> done{};

}  // namespace

WorkCounters workSoFar() noexcept {
    WorkCounters counters;
    for (std::size_t i = 0; i < workKindCount; ++i) {
        counters.amounts[i] = done[i].load(std::memory_order_relaxed);
    }
    return counters;
}

void countWork(Work kind, std::uint64_t amount) noexcept {
    done[static_cast<std::size_t>(kind)].fetch_add(amount, std::memory_order_relaxed);
}

}  // namespace kelto
