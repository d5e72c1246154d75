#include <cstdint>
#include <new>

#include <gtest/gtest.h>

#include "kelto/foundation/LargeVector.hpp"

namespace kelto {
namespace {

TEST(LargeVector, KeepsItsElementsWhileItGrowsOutOfTheHeap) {
    LargeVector<int> numbers;
    for (int number = 0; number < 1'000'000; ++number) numbers.push_back(number);
    for (int number = 0; number < 1'000'000; ++number)
        ASSERT_EQ(numbers[static_cast<std::size_t>(number)], number);
    numbers.resize(3);
    numbers.shrink_to_fit();
    EXPECT_EQ(numbers, (LargeVector<int>{0, 1, 2}));
}

TEST(LargeVector, IsLargeMemoryWhenItIsLarge) {
    const LargeVector<char> large(LargeMemory::leastBytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(large.data()) % LargeMemory::usualBytes, 0);
}

TEST(LargeVector, RefusesMoreElementsThanThereIsMemory) {
    LargeVector<int> numbers;
    EXPECT_THROW(numbers.reserve(numbers.max_size()), std::bad_alloc);
}

}  // namespace
}  // namespace kelto
