#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace kelto {

/// So many strides of work, some 50 microseconds each, take as long as a second thread takes to
/// come.
inline constexpr std::size_t worthAThread = 4;

/// Calls `work(begin, end)` for ranges of at most `stride` that together cover 0 to `count`, each
/// once, in any order: on a second thread, where there is a processor for it and enough to do, and
/// on this one once it calls finish(). A second thread that comes late, or never, is not waited
/// for: this one then does it all. `work` throws nothing, and must only touch what no other range
/// touches; what it reads stays as it is until finish() has returned.
class SharedWork {
public:
    using Work = std::function<void(std::size_t begin, std::size_t end)>;

    SharedWork(std::size_t count, std::size_t stride, Work work);
    /// Waits for the range that the second thread is at; the rest is never done.
    ~SharedWork();
    SharedWork(const SharedWork&) = delete;
    SharedWork& operator=(const SharedWork&) = delete;

    /// Returns when all is done.
    void finish() noexcept;

private:
    class Job;
    std::shared_ptr<Job> job_;
};

/// The same, begun and finished in one call.
void shareWork(std::size_t count, std::size_t stride, SharedWork::Work work);

}  // namespace kelto
