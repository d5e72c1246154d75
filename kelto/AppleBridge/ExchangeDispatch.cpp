#include "kelto/AppleBridge/ExchangeDispatch.hpp"

#include <exception>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/FatalError.hpp"

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

}  // namespace

void dispatchExchange(const Platform& platform,
                      ExchangeFunction exchange,
                      RequestIntake& intake,
                      std::string_view request,
                      std::intptr_t context,
                      kelto_apple_callback callback) {
    // Not owned by the task: a queue would then keep itself alive.
    auto start = [&mainExecutor = *platform.mainExecutor,
                  exchange = std::move(exchange),
                  text = intake.take(request),
                  context,
                  callback]() mutable {
        answer(mainExecutor, std::move(exchange), std::move(text), context, callback);
    };
    platform.mainExecutor->post(std::move(start));
}

}  // namespace kelto
