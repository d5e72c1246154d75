#include "kelto/platform/QuietThread.hpp"

#include <utility>

#include <pthread.h>
#include <signal.h>

namespace kelto {

namespace {

/// While it lives, threads that are made inherit that every signal waits.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

}  // namespace

QuietThread::QuietThread(std::function<void()> work) {
    const AllSignalsBlocked blocked;
    thread_ = std::thread(std::move(work));
}

void QuietThread::startAlone(std::function<void()> work) {
    const AllSignalsBlocked blocked;
    std::thread(std::move(work)).detach();
}

bool hasSecondProcessor() {
    static const bool hasSecond = std::thread::hardware_concurrency() != 1;
    return hasSecond;
}

}  // namespace kelto
