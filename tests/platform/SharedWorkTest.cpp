#include <atomic>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/platform/SharedWork.hpp"

namespace kelto {
namespace {

class SharedWork : public testing::TestWithParam<std::size_t> {};

TEST_P(SharedWork, DoesEveryPieceOnce) {
    std::vector<std::atomic<int>> done(GetParam());
    shareWork(done.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) ++done[i];
    });
    for (const auto& times : done) EXPECT_EQ(times, 1);
}
INSTANTIATE_TEST_SUITE_P(Counts,
                         SharedWork,
                         testing::Values(0, 1, 63, 64, 65, worthAThread - 1, worthAThread, 10'000));

TEST(SharedWork, IsDoneWhenItReturns) {
    for (int round = 0; round < 200; ++round) {
        std::vector<int> squares(1000);
        shareWork(squares.size(), [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) squares[i] = static_cast<int>(i * i);
        });
        ASSERT_EQ(squares.back(), 999 * 999);
        ASSERT_EQ(squares[500], 250'000);
    }
}

}  // namespace
}  // namespace kelto
