#pragma once

#include <coroutine>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/MainExecutor.hpp"

namespace kelto {

/// Awaits a service that answers through a completion, on whatever thread and whenever it likes:
/// the awaiting coroutine goes on on the main executor, or at once when the answer was there at
/// once.
template <typename Answer>
class ServiceCall {
public:
    using Completion = std::function<void(Answer, const std::optional<PlatformError>&)>;

    /// `start` is called once, when the call is awaited; `main` outlives the answer.
    ServiceCall(MainExecutor& main, std::function<void(Completion)> start)
        : main_(main), start_(std::move(start)) {}

    [[nodiscard]] bool await_ready() const noexcept { return false; }

    bool await_suspend(std::coroutine_handle<> waiting) {
        start_([shared = shared_, &main = main_](Answer answer,
                                                 const std::optional<PlatformError>& error) {
            std::coroutine_handle<> resumed;
            {
                const std::lock_guard lock(shared->mutex);
                shared->answer = std::move(answer);
                shared->error = error;
                resumed = shared->waiting;
            }
            if (resumed) main.post([resumed] { resumed.resume(); });
        });
        const std::lock_guard lock(shared_->mutex);
        if (shared_->answer) return false;
        shared_->waiting = waiting;
        return true;
    }

    /// Throws the service's error, if it gave one.
    Answer await_resume() {
        const std::lock_guard lock(shared_->mutex);
        if (shared_->error) throw PlatformError(*shared_->error);
        return std::move(*shared_->answer);
    }

private:
    struct Shared {
        std::mutex mutex;
        std::optional<Answer> answer;
        std::optional<PlatformError> error;
        std::coroutine_handle<> waiting;
    };

    MainExecutor& main_;
    std::function<void(Completion)> start_;
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace kelto
