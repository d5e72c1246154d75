#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

#include "kelto/foundation/LargeMemory.hpp"

namespace kelto {

/// Has a container keep many elements in large memory instead of the heap. A heap that has once
/// given back a large block keeps as much of what is freed later: an exchange's lists would stay
/// with the process as memory that nobody uses.
template <typename Value>
class LargeAllocator {
public:
    using value_type = Value;

    LargeAllocator() = default;
    template <typename Other>
    LargeAllocator(const LargeAllocator<Other>&) noexcept {}

    [[nodiscard]] Value* allocate(std::size_t count) {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(Value)) {
            throw std::bad_array_new_length();
        }
        const std::size_t size = count * sizeof(Value);
        return static_cast<Value*>(isLarge(size) ? LargeMemory::take(size) : ::operator new(size));
    }
    void deallocate(Value* start, std::size_t count) noexcept {
        const std::size_t size = count * sizeof(Value);
        if (isLarge(size)) {
            LargeMemory::giveBack(start, size);
        } else {
            ::operator delete(start);
        }
    }

    friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }

private:
    static bool isLarge(std::size_t size) { return size >= LargeMemory::leastBytes; }
};

/// A vector for thousands of elements that come and go with an exchange.
template <typename Value>
using LargeVector = std::vector<Value, LargeAllocator<Value>>;

}  // namespace kelto
