#include "kelto/platform/SharedWork.hpp"

#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>

#include "kelto/platform/QuietThread.hpp"

namespace kelto {

void shareWork(std::size_t count, const std::function<void(std::size_t, std::size_t)>& work) {
    constexpr std::size_t stride = 64;
    std::atomic<std::size_t> next{0};
    const auto takePart = [&]() noexcept {
        for (;;) {
            const std::size_t begin = next.fetch_add(stride);
            if (begin >= count) return;
            work(begin, std::min(begin + stride, count));
        }
    };
    std::optional<QuietThread> helper;
    if (count >= worthAThread && hasSecondProcessor()) {
        try {
            helper.emplace(takePart);
        } catch (const std::system_error&) {
            helper.reset();  // slower, but no reason to give up
        }
    }
    takePart();
}

}  // namespace kelto
