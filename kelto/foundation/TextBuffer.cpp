#include "kelto/foundation/TextBuffer.hpp"

#include <algorithm>

namespace kelto {

void TextBuffer::grow(std::size_t size) {
    constexpr std::size_t smallest = 1024;
    const std::size_t capacity = std::max({smallest, capacity_ * 2, size_ + size});
    // Not value-initialised: every byte is written before it is read.
    std::unique_ptr<char[]> bytes(new char[capacity]);
    if (size_ > 0) std::memcpy(bytes.get(), bytes_.get(), size_);
    bytes_ = std::move(bytes);
    capacity_ = capacity;
}

}  // namespace kelto
