#include "kelto/platform/SharedWork.hpp"

#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>

#include "kelto/platform/QuietThread.hpp"

namespace kelto {

void doBoth(const std::function<void()>& here, const std::function<void()>& there) {
    std::optional<QuietThread> second;
    if (hasSecondProcessor()) {
        try {
            second.emplace([&there]() noexcept { there(); });
        } catch (const std::system_error&) {
            second.reset();  // slower, but no reason to give up
        }
    }
    here();
    if (!second) there();
}

void shareWork(std::size_t count, const std::function<void(std::size_t, std::size_t)>& work) {
    constexpr std::size_t stride = 64;
    std::atomic<std::size_t> next{0};
    const auto takeParts = [&]() noexcept {
        for (;;) {
            const std::size_t begin = next.fetch_add(stride);
            if (begin >= count) return;
            work(begin, std::min(begin + stride, count));
        }
    };
    if (count < worthAThread) return takeParts();
    doBoth(takeParts, takeParts);
}

}  // namespace kelto
