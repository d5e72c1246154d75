#include "kelto/foundation/LargeMemory.hpp"

#include <atomic>
#include <cstdint>
#include <limits>
#include <new>
#include <span>

#include <sys/mman.h>

#include "kelto/foundation/SpareMemory.hpp"

namespace kelto {

namespace {

constexpr std::size_t pageBytes = LargeMemory::usualBytes;
/// A process that uses more than this keeps nothing for the next time.
constexpr std::size_t mostBesideSpare = std::size_t{32} * 1024 * 1024;

std::atomic<std::size_t> bytesInUse{0};

std::size_t wholePages(std::size_t size) {
    return (size + pageBytes - 1) / pageBytes * pageBytes;
}

/// Memory that begins at a whole large page: what lies before the first one would come in small
/// pages, one fault for each.
void* freshMemory(std::size_t size) {
    void* const start = ::mmap(
        nullptr, size + pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) throw std::bad_alloc();
    auto* const bytes = static_cast<std::byte*>(start);
    const std::size_t before = wholePages(reinterpret_cast<std::uintptr_t>(start)) -
                               reinterpret_cast<std::uintptr_t>(start);
    if (before > 0) ::munmap(bytes, before);
    ::munmap(bytes + before + size, pageBytes - before);
#ifdef MADV_HUGEPAGE
    // Advice only: whether it is taken changes nothing but the time.
    (void)::madvise(bytes + before, size, MADV_HUGEPAGE);
#endif
    return bytes + before;
}

void giveToSystem(std::span<std::byte> memory) {
    ::munmap(memory.data(), memory.size());
}

/// Keeps the memory for the next time, if there is room for it; what is smaller makes way.
bool isKept(std::span<std::byte> memory) {
    if (!spareMemory::hasRoomBesideLarger(memory.size())) return false;
    while (!spareMemory::keep(memory)) {
        const auto smaller = spareMemory::takeSmaller(memory.size());
        if (!smaller) return false;
        giveToSystem(*smaller);
    }
    return true;
}

}  // namespace

void* LargeMemory::take(std::size_t size) {
    size = wholePages(size);
    const auto kept = spareMemory::take(size);
    void* const start = kept ? kept->data() : freshMemory(size);
    bytesInUse += size;
    return start;
}

void LargeMemory::giveBack(void* start, std::size_t size) noexcept {
    const std::span memory(static_cast<std::byte*>(start), wholePages(size));
    const std::size_t left = bytesInUse -= memory.size();
    if (left > mostBesideSpare) {
        constexpr std::size_t any = std::numeric_limits<std::size_t>::max();
        while (const auto spare = spareMemory::takeSmaller(any)) giveToSystem(*spare);
    } else if (isKept(memory)) {
        return;
    }
    giveToSystem(memory);
}

LargeMemory::LargeMemory(std::size_t size) : start_(take(size)), size_(wholePages(size)) {}

LargeMemory::~LargeMemory() {
    if (start_ != nullptr) giveBack(start_, size_);
}

}  // namespace kelto
