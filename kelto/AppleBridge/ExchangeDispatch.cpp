#include "kelto/AppleBridge/ExchangeDispatch.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <exception>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

/// `exchange` lives in this coroutine's frame: what it captured is there until its task has ended.
Task<LargeText> responseOrEnvelope(ExchangeFunction exchange, LargeText request) {
    try {
        co_return co_await exchange(std::move(request));
    } catch (const std::exception& error) {
        co_return errorEnvelope(error);
    } catch (...) {
        co_return errorEnvelope(BridgeError(BridgeRefusal::unknownReason));
    }
}

DetachedTask answer(MainExecutor& mainExecutor,
                    ExchangeFunction exchange,
                    LargeText request,
                    std::intptr_t context,
                    kelto_apple_callback callback) {
    const LargeText response = co_await responseOrEnvelope(std::move(exchange), std::move(request));
    if (!mainExecutor.isCurrent()) {
        // A position that hosts know; it stays this one wherever the line moves.
        fatalError("unexpected executor", "kelto/AppleBridge", 64);
    }
    if (callback != nullptr) callback(context, response.cString());
}

/// The first place from `place` on where a text may be cut without cutting a character. In what is
/// not UTF-8 a cut may lie anywhere: one of the parts is malformed in any case. So it looks no
/// farther than a character is long, however many bytes look like the inside of one. Nothing stands
/// before the beginning, so that is always such a place.
std::size_t cutFrom(std::size_t place, std::string_view text) {
    if (place == 0) return 0;
    const auto continues = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    constexpr std::size_t mostContinuing = 3;
    const std::size_t end = std::min(place + mostContinuing, text.size());
    while (place < end && continues(place)) ++place;
    return place;
}

/// The request, whose memory is the host's: copied, and repaired where it is not UTF-8.
LargeText repairedCopy(std::string_view request) {
    constexpr std::size_t stride = std::size_t{256} * 1024;
    constexpr std::size_t endOfText = 1;
    TextBuffer copy;
    char* const start = copy.room(request.size() + endOfText);
    std::atomic<bool> isSound{true};
    shareWork(request.size(), stride, [&](std::size_t begin, std::size_t end) {
        const std::size_t from = cutFrom(begin, request);
        const std::size_t size = cutFrom(end, request) - from;
        std::memcpy(start + from, request.data() + from, size);
        if (!isWellFormedUtf8({start + from, size})) isSound = false;
    });
    if (!isSound) return LargeText(repairedUtf8(request));
    copy.commit(start + request.size());
    return LargeText(std::move(copy));
}

}  // namespace

void dispatchExchange(const Platform& platform,
                      ExchangeFunction exchange,
                      const LastRequest& last,
                      std::string_view request,
                      std::intptr_t context,
                      kelto_apple_callback callback) {
    auto text = last.sameAs(request);
    if (!text) text = repairedCopy(request);
    // Not owned by the task: a queue would then keep itself alive.
    auto start = [&mainExecutor = *platform.mainExecutor,
                  exchange = std::move(exchange),
                  text = std::move(*text),
                  context,
                  callback]() mutable {
        answer(mainExecutor, std::move(exchange), std::move(text), context, callback);
    };
    platform.mainExecutor->post(std::move(start));
}

}  // namespace kelto
