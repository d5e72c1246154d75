#include "kelto/foundation/LargeMemory.hpp"

#include <cstdint>
#include <new>

#include <sys/mman.h>

namespace kelto {

namespace {

void preferLargePages([[maybe_unused]] void* start, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
    // Whole large pages inside of what was given. Advice only: whether it is taken changes nothing
    // but the time.
    constexpr std::uintptr_t page = LargeMemory::usualBytes;
    const auto begin = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t first = (begin + page - 1) / page * page;
    const std::uintptr_t last = (begin + size) / page * page;
    if (first < last) {
        (void)::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
#endif
}

}  // namespace

LargeMemory::LargeMemory(std::size_t size)
    : start_(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)),
      size_(size) {
    if (start_ == MAP_FAILED) throw std::bad_alloc();
    preferLargePages(start_, size_);
}

LargeMemory::~LargeMemory() {
    if (start_ != nullptr) ::munmap(start_, size_);
}

}  // namespace kelto
