#include "kelto/AppleBridge/ExchangeDispatch.hpp"

#include <exception>
#include <memory>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

/// `exchange` lives in this coroutine's frame: what it captured is there until its task has ended.
Task<LargeText> responseOrEnvelope(ExchangeFunction exchange, LargeText request) {
    try {
        co_return co_await exchange(std::move(request));
    } catch (const std::exception& error) {
        co_return errorEnvelope(error);
    } catch (...) {
        co_return errorEnvelope(BridgeError("The exchange failed for an unknown reason."));
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

LargeText repairedCopy(std::string_view request) {
    return isWellFormedUtf8(request) ? LargeText(request) : LargeText(repairedUtf8(request));
}

}  // namespace

void dispatchExchange(const Platform& platform,
                      ExchangeFunction exchange,
                      std::string_view request,
                      std::intptr_t context,
                      kelto_apple_callback callback) {
    // Not owned by the task: a queue would then keep itself alive.
    auto start = [&mainExecutor = *platform.mainExecutor,
                  exchange = std::move(exchange),
                  request = std::make_shared<LargeText>(repairedCopy(request)),
                  context,
                  callback]() mutable {
        answer(mainExecutor, std::move(exchange), std::move(*request), context, callback);
    };
    platform.mainExecutor->post(std::move(start));
}

}  // namespace kelto
