#include "kelto/foundation/SpareMemory.hpp"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace kelto {

namespace {

/// So few pieces that looking at all of them costs nothing.
constexpr std::size_t pieceLimit = 8;

struct Spare {
    std::mutex mutex;
    std::array<std::span<std::byte>, pieceLimit> pieces;  // the empty ones are free places
    std::size_t bytes = 0;
};

Spare& spare() {
    // Never destroyed: a thread may give memory back while static objects go.
    static Spare& only = *new Spare;
    return only;
}

}  // namespace

std::optional<std::span<std::byte>> spareMemory::take(std::size_t size) {
    const std::lock_guard guard(spare().mutex);
    const auto piece = std::find_if(spare().pieces.begin(),
                                    spare().pieces.end(),
                                    [size](const auto& kept) { return kept.size() == size; });
    if (size == 0 || piece == spare().pieces.end()) return std::nullopt;
    const std::span<std::byte> memory = *piece;
    *piece = {};
    spare().bytes -= size;
    return memory;
}

bool spareMemory::hasRoomBesideLarger(std::size_t size) {
    const std::lock_guard guard(spare().mutex);
    std::size_t needed = size;
    std::size_t places = 1;
    for (const auto& kept : spare().pieces) {
        if (kept.empty() || kept.size() < size) continue;
        needed += kept.size();
        ++places;
    }
    return needed <= limitBytes && places <= pieceLimit;
}

bool spareMemory::keep(std::span<std::byte> memory) {
    const std::lock_guard guard(spare().mutex);
    if (memory.size() > limitBytes - spare().bytes) return false;
    const auto place = std::find_if(spare().pieces.begin(),
                                    spare().pieces.end(),
                                    [](const auto& kept) { return kept.empty(); });
    if (place == spare().pieces.end()) return false;
    *place = memory;
    spare().bytes += memory.size();
    return true;
}

std::optional<std::span<std::byte>> spareMemory::takeSmaller(std::size_t size) {
    const std::lock_guard guard(spare().mutex);
    for (std::span<std::byte>& kept : spare().pieces) {
        if (kept.empty() || kept.size() >= size) continue;
        spare().bytes -= kept.size();
        return std::exchange(kept, {});
    }
    return std::nullopt;
}

}  // namespace kelto
