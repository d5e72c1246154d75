#include <gtest/gtest.h>
#include <sys/mman.h>

#include "kelto/foundation/LargeMemory.hpp"
#include "kelto/foundation/SpareMemory.hpp"

namespace kelto {
namespace {

constexpr std::size_t page = LargeMemory::usualBytes;
constexpr std::size_t limit = spareMemory::limitBytes;

/// What the process has kept by now is in use while a test runs.
class SpareMemoryTest : public testing::Test {
protected:
    static bool hasSpare(std::size_t size) {
        const auto memory = spareMemory::take(size);
        return memory && spareMemory::keep(*memory);
    }
    static void empty() {
        for (std::size_t size = page; size <= limit; size += page) {
            while (const auto memory = spareMemory::take(size)) {
                // Not from here on: LargeMemory::giveBack() would keep it again.
                ASSERT_EQ(munmap(memory->data(), memory->size()), 0);
            }
        }
    }
    SpareMemoryTest() { empty(); }
    ~SpareMemoryTest() override { empty(); }
};

TEST_F(SpareMemoryTest, IsWhatWasGivenBackLast) {
    { const LargeMemory memory(page); }
    EXPECT_TRUE(hasSpare(page));
    EXPECT_FALSE(hasSpare(2 * page));
}

TEST_F(SpareMemoryTest, IsUsedAgain) {
    void* start = nullptr;
    {
        const LargeMemory memory(2 * page);
        start = memory.start();
    }
    const LargeMemory again(2 * page);
    EXPECT_EQ(again.start(), start);
    EXPECT_FALSE(hasSpare(2 * page));
}

TEST_F(SpareMemoryTest, PrefersLargePieces) {
    { const LargeMemory small(page); }
    { const LargeMemory large(limit); }
    EXPECT_TRUE(hasSpare(limit));
    EXPECT_FALSE(hasSpare(page)) << "there is no room for both";
    { const LargeMemory small(page); }
    EXPECT_TRUE(hasSpare(limit)) << "a small one does not take the place of a large one";
    EXPECT_FALSE(hasSpare(page));
}

TEST_F(SpareMemoryTest, GivesNothingAwayForAPieceThatHasNoRoomInAnyCase) {
    { const LargeMemory small(page); }
    { const LargeMemory large(limit - page); }
    ASSERT_TRUE(hasSpare(page));
    { const LargeMemory between(2 * page); }
    EXPECT_TRUE(hasSpare(page));
    EXPECT_TRUE(hasSpare(limit - page));
    EXPECT_FALSE(hasSpare(2 * page));
}

TEST_F(SpareMemoryTest, LeavesWhatThereIsWhenAPieceIsTooLarge) {
    { const LargeMemory small(page); }
    { const LargeMemory tooLarge(limit + page); }
    EXPECT_TRUE(hasSpare(page));
    EXPECT_FALSE(hasSpare(limit + page));
}

TEST_F(SpareMemoryTest, IsNotKeptByAProcessThatUsesFarMore) {
    { const LargeMemory small(page); }
    const LargeMemory library(5 * limit);
    { const LargeMemory other(2 * page); }
    EXPECT_FALSE(hasSpare(2 * page));
    EXPECT_FALSE(hasSpare(page)) << "nor what was kept before";
}

}  // namespace
}  // namespace kelto
