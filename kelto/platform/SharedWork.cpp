#include "kelto/platform/SharedWork.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>

#include "kelto/platform/QuietThread.hpp"

namespace kelto {

namespace {

/// What is to be done, and whether a second thread is at it. It outlives the call for a thread that
/// has not come by then.
class Job {
public:
    using Work = std::function<void(std::size_t, std::size_t)>;

    Job(std::size_t count, std::size_t stride, const Work& work)
        : count_(count), stride_(stride), work_(&work) {}

    /// Takes ranges until none is left.
    void takeRanges() noexcept {
        for (;;) {
            const std::size_t begin = next_.fetch_add(stride_);
            if (begin >= count_) return;
            (*work_)(begin, std::min(begin + stride_, count_));
        }
    }

    /// What the second thread does, unless it comes too late.
    void join() noexcept {
        {
            const std::lock_guard guard(mutex_);
            if (isOver_) return;
            isHelped_ = true;
        }
        takeRanges();
        const std::lock_guard guard(mutex_);
        isHelped_ = false;
        left_.notify_one();
    }

    /// Nobody touches what the work touches once this has returned.
    void end() noexcept {
        std::unique_lock guard(mutex_);
        isOver_ = true;
        left_.wait(guard, [this] { return !isHelped_; });
    }

private:
    const std::size_t count_;
    const std::size_t stride_;
    const Work* const work_;  // the caller's, good until end()
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable left_;
    bool isHelped_ = false;
    bool isOver_ = false;
};

}  // namespace

void shareWork(std::size_t count, std::size_t stride, const Job::Work& work) {
    const auto job = std::make_shared<Job>(count, stride, work);
    if (count >= worthAThread * stride && hasSecondProcessor()) {
        try {
            QuietThread::startAlone([job]() noexcept { job->join(); });
        } catch (const std::system_error&) {
            // No thread to be had: slower, but no reason to give up.
        }
    }
    job->takeRanges();
    job->end();
}

}  // namespace kelto
