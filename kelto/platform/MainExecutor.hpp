#pragma once

#include <functional>

namespace kelto {

/// The host's main thread as a queue of tasks: they run one after the other, in the order in which
/// they were posted, never inside post().
class MainExecutor {
public:
    virtual ~MainExecutor() = default;
    /// May be called from any thread. The task must not throw.
    virtual void post(std::function<void()> task) = 0;
    /// Whether the calling thread is the main thread at this moment.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace kelto
