#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <mutex>

#include "kelto/platform/MainExecutor.hpp"

namespace kelto {

/// A main thread whose tasks run when the test says so, on the test's thread.
class ManualExecutor final : public MainExecutor {
public:
    std::atomic<bool> answersCurrent = true;  ///< What isCurrent() says.

    void post(std::function<void()> task) override;
    [[nodiscard]] bool isCurrent() const override { return answersCurrent; }

    /// Runs the oldest task; false when there is none.
    bool runOne();
    /// Runs tasks until there are none, those posted meanwhile included. How many they were.
    std::size_t runUntilIdle();
    [[nodiscard]] std::size_t pending();

private:
    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
};

}  // namespace kelto
