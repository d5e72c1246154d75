#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kelto/platform/SharedWork.hpp"

#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define KELTO_THREAD_SANITIZER
#endif
#endif

namespace kelto {
namespace {

class SharedWorkCounts : public testing::TestWithParam<std::size_t> {};

TEST_P(SharedWorkCounts, DoesEveryPieceOnce) {
    std::vector<std::atomic<int>> done(GetParam());
    shareWork(done.size(), 64, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) ++done[i];
    });
    for (const auto& times : done) EXPECT_EQ(times, 1);
}
INSTANTIATE_TEST_SUITE_P(SharedWork,
                         SharedWorkCounts,
                         testing::Values(0, 1, 63, 64, 65, 255, 256, 10'000));

TEST_P(SharedWorkCounts, DoesEveryPieceOnceThatIsBegunBefore) {
    std::vector<std::atomic<int>> done(GetParam());
    SharedWork work(done.size(), 64, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) ++done[i];
    });
    work.finish();
    for (const auto& times : done) EXPECT_EQ(times, 1);
}

TEST(SharedWorks, TouchNothingOnceTheyAreGivenUp) {
    for (int round = 0; round < 200; ++round) {
        auto done = std::make_unique<std::array<std::atomic<int>, 5000>>();
        {
            const SharedWork work(done->size(), 10, [&](std::size_t begin, std::size_t end) {
                for (std::size_t i = begin; i < end; ++i) ++(*done)[i];
            });
        }
        const bool none =
            std::none_of(done->begin(), done->end(), [](const auto& times) { return times > 1; });
        EXPECT_TRUE(none);
        done.reset();  // the sanitizers would see who touches it now
    }
}

TEST(SharedWorks, IsDoneWhenItReturns) {
    for (int round = 0; round < 200; ++round) {
        std::vector<int> squares(1000);
        shareWork(squares.size(), 10, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) squares[i] = static_cast<int>(i * i);
        });
        ASSERT_EQ(squares.back(), 999 * 999);
        ASSERT_EQ(squares[500], 250'000);
    }
}

#ifndef KELTO_THREAD_SANITIZER  // it lets no fork have threads of its own
/// Bytes.
rlim_t usedAddressSpace() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

TEST(SharedWorks, NeedsNoSecondThread) {
    // Room for small things is left, but none for the stack of a thread.
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        const rlim_t enough = usedAddressSpace() + 1024 * 1024;
        const rlimit limit{enough, enough};
        ::setrlimit(RLIMIT_AS, &limit);
        std::array<std::uint8_t, 4096> done{};
        shareWork(done.size(), 64, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) ++done[i];
        });
        const bool isDone = std::count(done.begin(), done.end(), 1) == std::ssize(done);
        ::_exit(isDone ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
#endif

}  // namespace
}  // namespace kelto
