#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/platform/linux/GlibMainExecutor.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

struct FreeLoop {
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
using MainLoop = std::unique_ptr<GMainLoop, FreeLoop>;

MainLoop newMainLoop() {
    return MainLoop(g_main_loop_new(nullptr, FALSE));
}

/// One turn of the default main context, without waiting; whether something was done.
bool turn() {
    return g_main_context_iteration(nullptr, FALSE) != FALSE;
}

void turnUntilIdle() {
    while (turn()) continue;
}

TEST(GlibMainExecutor, RunsTasksInTheOrderOfPosting) {
    GlibMainExecutor executor;
    std::vector<int> order;
    for (int i = 0; i < 4; ++i) executor.post([&order, i] { order.push_back(i); });
    turnUntilIdle();
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(GlibMainExecutor, RunsOneTaskInEachTurnOfTheLoop) {
    GlibMainExecutor executor;
    int count = 0;
    for (int i = 0; i < 3; ++i) executor.post([&count] { ++count; });
    EXPECT_TRUE(turn());
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(turn());
    EXPECT_EQ(count, 2);
}

TEST(GlibMainExecutor, SleepsWhenThereIsNothingToDo) {
    GlibMainExecutor executor;
    executor.post([] {});
    turnUntilIdle();
    EXPECT_FALSE(turn());
}

TEST(GlibMainExecutor, NeverRunsATaskInsidePostWhenNobodyOwnsTheContext) {
    GlibMainExecutor executor;
    bool ran = false;
    executor.post([&ran] { ran = true; });
    EXPECT_FALSE(ran);
    turnUntilIdle();
    EXPECT_TRUE(ran);
}

TEST(GlibMainExecutor, NeverRunsATaskInsidePostWhenTheCallerOwnsTheContext) {
    GlibMainExecutor executor;
    ASSERT_TRUE(g_main_context_acquire(g_main_context_default()));
    bool ran = false;
    executor.post([&ran] { ran = true; });
    EXPECT_FALSE(ran);
    turnUntilIdle();
    EXPECT_TRUE(ran);
    g_main_context_release(g_main_context_default());
}

TEST(GlibMainExecutor, RunsATaskPostedByATaskAfterIt) {
    GlibMainExecutor executor;
    std::vector<int> order;
    executor.post([&] {
        executor.post([&order] { order.push_back(3); });
        order.push_back(1);
    });
    executor.post([&order] { order.push_back(2); });
    turnUntilIdle();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(GlibMainExecutor, WakesALoopThatSleeps) {
    GlibMainExecutor executor;
    const MainLoop loop = newMainLoop();
    bool ran = false;
    std::thread other([&] {
        g_usleep(20'000);  // long enough for the loop to fall asleep, and harmless if it is not
        executor.post([&] {
            ran = true;
            g_main_loop_quit(loop.get());
        });
    });
    g_main_loop_run(loop.get());
    other.join();
    EXPECT_TRUE(ran);
}

TEST(GlibMainExecutor, KeepsTheOrderOfEachThreadThatPosts) {
    constexpr int threads = 4;
    constexpr int tasksEach = 1'000;
    GlibMainExecutor executor;
    const MainLoop loop = newMainLoop();
    std::vector<std::vector<int>> orders(threads);
    int left = threads * tasksEach;  // touched by tasks only, and so by one thread
    std::vector<std::thread> posters;
    for (auto& order : orders) {
        posters.emplace_back([&] {
            for (int i = 0; i < tasksEach; ++i) {
                executor.post([&, i] {
                    order.push_back(i);
                    if (--left == 0) g_main_loop_quit(loop.get());
                });
            }
        });
    }
    g_main_loop_run(loop.get());
    for (std::thread& poster : posters) poster.join();
    for (const auto& order : orders) {
        ASSERT_EQ(order.size(), static_cast<std::size_t>(tasksEach));
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
}

TEST(GlibMainExecutor, ServesTasksInANestedLoopOfATask) {
    GlibMainExecutor executor;
    std::vector<int> order;
    executor.post([&] {
        const MainLoop dialog = newMainLoop();
        executor.post([&] {
            order.push_back(1);
            g_main_loop_quit(dialog.get());
        });
        g_main_loop_run(dialog.get());
        order.push_back(2);
    });
    turnUntilIdle();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(GlibMainExecutor, IsCurrentInsideATaskOnly) {
    GlibMainExecutor executor;
    bool inside = false;
    executor.post([&] { inside = executor.isCurrent(); });
    EXPECT_FALSE(executor.isCurrent());
    turnUntilIdle();
    EXPECT_TRUE(inside);
    EXPECT_FALSE(executor.isCurrent());
}

TEST(GlibMainExecutor, IsNotCurrentOnAnotherThread) {
    GlibMainExecutor executor;
    bool onOtherThread = true;
    executor.post([&] { std::thread([&] { onOtherThread = executor.isCurrent(); }).join(); });
    turnUntilIdle();
    EXPECT_FALSE(onOtherThread);
}

TEST(GlibMainExecutor, LeavesRoomForTheHostsOwnSources) {
    GlibMainExecutor executor;
    std::vector<char> order;
    const auto hostsOwn = [](gpointer data) -> gboolean {
        static_cast<std::vector<char>*>(data)->push_back('h');
        return G_SOURCE_REMOVE;
    };
    for (int i = 0; i < 3; ++i) executor.post([&order] { order.push_back('k'); });
    g_idle_add_full(G_PRIORITY_DEFAULT, hostsOwn, &order, nullptr);
    turnUntilIdle();
    EXPECT_THAT(order, ElementsAre('k', 'h', 'k', 'k'));
}

}  // namespace
}  // namespace kelto
