#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "kelto/foundation/LargeMemory.hpp"

namespace kelto {

/// Memory for many small texts that live as long as the arena and never move. Gets a few pieces
/// from the heap, then large ones from the system, and hands them out bit by bit.
class TextArena {
public:
    /// Room for `size` bytes, of which the caller keeps what it commits.
    [[nodiscard]] char* reserve(std::size_t size) {
        if (size > free_) addChunk(size);
        return next_;
    }
    /// Keeps the first `size` bytes of what was reserved last.
    void commit(std::size_t size) {
        next_ += size;
        free_ -= size;
    }

private:
    void addChunk(std::size_t size);

    std::vector<std::unique_ptr<char[]>> few_;
    std::vector<LargeMemory> large_;
    char* next_ = nullptr;
    std::size_t free_ = 0;
};

}  // namespace kelto
