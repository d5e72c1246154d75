#include "kelto/platform/linux/GlibMainExecutor.hpp"

#include <utility>

#include <glib.h>

namespace kelto {

namespace {

constexpr gint64 readyNow = 0;
constexpr gint64 neverReady = -1;

}  // namespace

/// What GLib allocates for us: its source, and the way back to the executor.
struct QueueSource {
    GSource base;
    GlibMainExecutor* executor;

    static gboolean dispatch(GSource* source, GSourceFunc, gpointer) noexcept {
        reinterpret_cast<QueueSource*>(source)->executor->runOne();
        return G_SOURCE_CONTINUE;
    }
};

GlibMainExecutor::GlibMainExecutor() {
    // Without prepare and check the source is ready when its ready time has come, and only then.
    static GSourceFuncs functions = {
        .prepare = nullptr,
        .check = nullptr,
        .dispatch = &QueueSource::dispatch,
        .finalize = nullptr,
        .closure_callback = nullptr,
        .closure_marshal = nullptr,
    };
    source_ = g_source_new(&functions, sizeof(QueueSource));
    reinterpret_cast<QueueSource*>(source_)->executor = this;
    g_source_set_static_name(source_, "kelto");
    // A host may run a nested loop in a callback, for a dialog say: exchanges go on in there.
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, g_main_context_default());
}

GlibMainExecutor::~GlibMainExecutor() {
    g_source_destroy(source_);
    g_source_unref(source_);
}

void GlibMainExecutor::post(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    // Under the lock: else a task that ends meanwhile could put the source to sleep after us.
    if (tasks_.size() == 1) g_source_set_ready_time(source_, readyNow);
}

bool GlibMainExecutor::isCurrent() const {
    return g_main_context_is_owner(g_main_context_default()) != FALSE;
}

void GlibMainExecutor::runOne() noexcept {
    std::function<void()> task;
    {
        const std::lock_guard lock(mutex_);
        if (!tasks_.empty()) {
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        if (tasks_.empty()) g_source_set_ready_time(source_, neverReady);
    }
    if (task) task();
}

}  // namespace kelto
