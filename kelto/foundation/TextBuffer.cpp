#include "kelto/foundation/TextBuffer.hpp"

#include <algorithm>

namespace kelto {

void TextBuffer::grow(std::size_t size) {
    constexpr std::size_t smallest = 1024;
    std::size_t capacity = std::max({smallest, capacity_ * 2, size_ + size});
    std::unique_ptr<char[]> small;
    std::optional<LargeMemory> large;
    char* start = nullptr;
    if (capacity >= LargeMemory::leastBytes) {
        large.emplace(capacity);
        start = static_cast<char*>(large->start());
        capacity = large->size();
    } else {
        // Not value-initialised: every byte is written before it is read.
        small.reset(new char[capacity]);
        start = small.get();
    }
    if (size_ > 0) std::memcpy(start, start_, size_);
    small_ = std::move(small);
    large_ = std::move(large);
    start_ = start;
    capacity_ = capacity;
}

}  // namespace kelto
