#include "kelto/foundation/TextArena.hpp"

#include <algorithm>

namespace kelto {

void TextArena::addChunk(std::size_t size) {
    constexpr std::size_t smallest = 4UL * 1024;
    constexpr std::size_t fewest = 6;
    // Small documents need little, and large ones should not ask often.
    const std::size_t usual = smallest << few_.size();
    if (few_.size() == fewest || size >= LargeMemory::leastBytes) {
        large_.emplace_back(std::max(size, LargeMemory::usualBytes));
        next_ = static_cast<char*>(large_.back().start());
        free_ = large_.back().size();
        return;
    }
    const std::size_t bytes = std::max(size, usual);
    // Not value-initialised: every byte is written before it is read.
    few_.push_back(std::unique_ptr<char[]>(new char[bytes]));
    next_ = few_.back().get();
    free_ = bytes;
}

}  // namespace kelto
