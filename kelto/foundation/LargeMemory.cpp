#include "kelto/foundation/LargeMemory.hpp"

#include <cstdint>
#include <new>

#include <sys/mman.h>

namespace kelto {

namespace {

/// The size of a large page on the processors that matter here, and so the least that can gain.
constexpr std::uintptr_t largePageBytes = std::uintptr_t{2} * 1024 * 1024;

void preferLargePages([[maybe_unused]] void* start, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
    // Whole large pages inside of what is reserved. Advice only: whether it is taken changes
    // nothing but the time.
    const auto begin = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t first = (begin + largePageBytes - 1) / largePageBytes * largePageBytes;
    const std::uintptr_t last = (begin + size) / largePageBytes * largePageBytes;
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

void reserveLarge(std::string& text, std::size_t size) {
    text.reserve(size);
    preferLargePages(text.data(), text.capacity());
}

std::string largeCopy(std::string_view text) {
    std::string copy;
    reserveLarge(copy, text.size());
    copy = text;
    return copy;
}

}  // namespace kelto
