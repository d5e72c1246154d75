#include "kelto/AppleBridge/LastRequest.hpp"

#include <atomic>
#include <cstddef>
#include <utility>

#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

bool isSame(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    constexpr std::size_t stride = std::size_t{256} * 1024;
    std::atomic<bool> agrees{true};
    shareWork(one.size(), stride, [&](std::size_t begin, std::size_t end) {
        if (agrees && one.substr(begin, end - begin) != other.substr(begin, end - begin)) {
            agrees = false;
        }
    });
    return agrees;
}

}  // namespace

void LastRequest::remember(LargeText text) {
    std::optional<LargeText> before(std::move(text));
    const std::lock_guard lock(mutex_);
    text_.swap(before);
}

void LastRequest::forget() {
    std::optional<LargeText> before;
    const std::lock_guard lock(mutex_);
    text_.swap(before);
}

std::optional<LargeText> LastRequest::sameAs(std::string_view request) const {
    std::optional<LargeText> last;
    {
        const std::lock_guard lock(mutex_);
        last = text_;
    }
    if (!last || !isSame(last->view(), request)) return std::nullopt;
    return last;
}

}  // namespace kelto
