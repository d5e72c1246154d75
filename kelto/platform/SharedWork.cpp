#include "kelto/platform/SharedWork.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

#include "kelto/platform/QuietThread.hpp"

namespace kelto {

/// What is to be done, and whether a second thread is at it. It outlives its owner for a thread
/// that has not come by then.
class SharedWork::Job {
public:
    Job(std::size_t count, std::size_t stride, Work work)
        : count_(count), stride_(stride), work_(std::move(work)) {}

    /// Takes ranges until none is left.
    void takeRanges() noexcept {
        for (;;) {
            const std::size_t begin = next_.fetch_add(stride_);
            if (begin >= count_) return;
            work_(begin, std::min(begin + stride_, count_));
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

    /// Nobody takes another range.
    void stop() noexcept { next_ = count_; }

    /// Nobody touches what the work touches once this has returned.
    void end() noexcept {
        std::unique_lock guard(mutex_);
        isOver_ = true;
        left_.wait(guard, [this] { return !isHelped_; });
    }

private:
    const std::size_t count_;
    const std::size_t stride_;
    const Work work_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable left_;
    bool isHelped_ = false;
    bool isOver_ = false;
};

SharedWork::SharedWork(std::size_t count, std::size_t stride, Work work)
    : job_(std::make_shared<Job>(count, stride, std::move(work))) {
    if (count < worthAThread * stride || !hasSecondProcessor()) return;
    try {
        QuietThread::startAlone([job = job_]() noexcept { job->join(); });
    } catch (const std::system_error&) {
        // No thread to be had: slower, but no reason to give up.
    }
}

SharedWork::~SharedWork() {
    job_->stop();
    job_->end();
}

void SharedWork::finish() noexcept {
    job_->takeRanges();
    job_->end();
}

void shareWork(std::size_t count, std::size_t stride, SharedWork::Work work) {
    SharedWork(count, stride, std::move(work)).finish();
}

}  // namespace kelto
