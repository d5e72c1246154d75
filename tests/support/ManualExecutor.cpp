#include "tests/support/ManualExecutor.hpp"

#include <utility>

namespace kelto {

void ManualExecutor::post(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
}

bool ManualExecutor::runOne() {
    std::function<void()> task;
    {
        const std::lock_guard lock(mutex_);
        if (tasks_.empty()) return false;
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
    return true;
}

std::size_t ManualExecutor::runUntilIdle() {
    std::size_t count = 0;
    while (runOne()) ++count;
    return count;
}

std::size_t ManualExecutor::pending() {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
}

}  // namespace kelto
