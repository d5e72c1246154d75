#include "kelto/foundation/LargeMemory.hpp"

#include <cstdint>
#include <new>

#include <sys/mman.h>

#include "kelto/foundation/SpareMemory.hpp"

namespace kelto {

namespace {

constexpr std::size_t pageBytes = LargeMemory::usualBytes;

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

}  // namespace

void* LargeMemory::take(std::size_t size) {
    size = wholePages(size);
    if (const auto kept = spareMemory::take(size)) return kept->data();
    return freshMemory(size);
}

void LargeMemory::giveBack(void* start, std::size_t size) noexcept {
    size = wholePages(size);
    if (!spareMemory::keep({static_cast<std::byte*>(start), size})) ::munmap(start, size);
}

LargeMemory::LargeMemory(std::size_t size) : start_(take(size)), size_(wholePages(size)) {}

LargeMemory::~LargeMemory() {
    if (start_ != nullptr) giveBack(start_, size_);
}

}  // namespace kelto
