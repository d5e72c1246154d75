#pragma once

#include <deque>
#include <functional>
#include <mutex>

#include "kelto/platform/MainExecutor.hpp"

using GSource = struct _GSource;

namespace kelto {

/// The main thread of a program that runs GLib's main loop: tasks run out of the default main
/// context, and a thread is the main thread while it owns that context.
///
/// A source of ours is attached to the context, rather than one call of g_main_context_invoke for
/// each task: that runs a task at once, inside post(), when the caller owns the context or nobody
/// does.
class GlibMainExecutor final : public MainExecutor {
public:
    GlibMainExecutor();
    GlibMainExecutor(const GlibMainExecutor&) = delete;
    GlibMainExecutor& operator=(const GlibMainExecutor&) = delete;
    /// Drops the tasks that did not run. On the main thread, outside of any task.
    ~GlibMainExecutor() override;

    void post(std::function<void()> task) override;
    [[nodiscard]] bool isCurrent() const override;

private:
    friend struct QueueSource;

    /// Runs the oldest task. Only one each time, so that the host's own sources have their turn
    /// between two exchanges.
    void runOne() noexcept;

    std::mutex mutex_;
    std::deque<std::function<void()>>
        tasks_;  ///< Guarded by mutex_, as is the source's ready time.
    GSource* source_;
};

}  // namespace kelto
