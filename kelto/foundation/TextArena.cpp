#include "kelto/foundation/TextArena.hpp"

#include <algorithm>

namespace kelto {

void TextArena::addChunk(std::size_t size) {
    constexpr std::size_t smallestChunk = 4UL * 1024;
    constexpr std::size_t largestChunk = 256UL * 1024;
    // Small documents need little, and large ones should not ask the heap often.
    const std::size_t usual = chunks_.size() < 6 ? smallestChunk << chunks_.size() : largestChunk;
    const std::size_t chunkBytes = std::max(size, usual);
    // Not value-initialised: every byte is written before it is read.
    chunks_.push_back(std::unique_ptr<char[]>(new char[chunkBytes]));
    next_ = chunks_.back().get();
    free_ = chunkBytes;
}

}  // namespace kelto
