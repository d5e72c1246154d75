#pragma once

#include <coroutine>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

namespace kelto {

/// An asynchronous answer: a coroutine that starts when it is awaited and then hands its value, or
/// its exception, to the one that awaits it. It runs on whatever thread resumes it. Awaited at most
/// once; an unawaited task never runs.
template <typename Value>
class [[nodiscard]] Task {
public:
    struct promise_type {
        std::variant<std::monostate, Value, std::exception_ptr> outcome;
        std::coroutine_handle<> awaiting;

        Task get_return_object() {
            return Task(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_always initial_suspend() noexcept { return {}; }
        auto final_suspend() noexcept {
            struct ResumeAwaiting {
                bool await_ready() noexcept { return false; }
                std::coroutine_handle<> await_suspend(
                    std::coroutine_handle<promise_type> finished) noexcept {
                    return finished.promise().awaiting;
                }
                void await_resume() noexcept {}
            };
            return ResumeAwaiting{};
        }
        void return_value(Value value) { outcome.template emplace<1>(std::move(value)); }
        void unhandled_exception() { outcome.template emplace<2>(std::current_exception()); }
    };

    Task(Task&& other) noexcept : coroutine_(std::exchange(other.coroutine_, {})) {}
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (coroutine_) coroutine_.destroy();
    }

    bool await_ready() const noexcept { return false; }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) noexcept {
        coroutine_.promise().awaiting = awaiting;
        return coroutine_;
    }
    Value await_resume() {
        auto& outcome = coroutine_.promise().outcome;
        if (auto* error = std::get_if<2>(&outcome)) std::rethrow_exception(*error);
        return std::move(std::get<1>(outcome));
    }

private:
    explicit Task(std::coroutine_handle<promise_type> coroutine) : coroutine_(coroutine) {}

    std::coroutine_handle<promise_type> coroutine_;
};

/// A coroutine that nobody awaits: it starts at once and frees itself at its end. It must not
/// throw; an exception that escapes it ends the process.
struct DetachedTask {
    struct promise_type {
        DetachedTask get_return_object() noexcept { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() noexcept {}
        [[noreturn]] void unhandled_exception() noexcept { std::terminate(); }
    };
};

}  // namespace kelto
