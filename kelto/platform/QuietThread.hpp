#pragma once

#include <functional>
#include <thread>

namespace kelto {

/// A thread of ours in the host's process. No signal is delivered to it: the host's handlers run on
/// the host's threads. The destructor waits for its end, so whoever owns one asks it to end first.
class QuietThread {
public:
    /// Throws std::system_error when the system has no thread to give.
    explicit QuietThread(std::function<void()> work);
    QuietThread(const QuietThread&) = delete;
    QuietThread& operator=(const QuietThread&) = delete;
    ~QuietThread() { thread_.join(); }

    /// One that nobody waits for: it owns all that it touches. Throws like the constructor.
    static void startAlone(std::function<void()> work);

private:
    std::thread thread_;
};

/// Whether a second thread could run beside the caller's.
[[nodiscard]] bool hasSecondProcessor();

}  // namespace kelto
