#include "tests/random/LibraryProcess.hpp"

#include <exception>
#include <stdexcept>
#include <utility>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"

namespace kelto::history {

LibraryProcess::LibraryProcess(FakePlatform& platform) : platform_(platform) {
    restart();
}

void LibraryProcess::restart() {
    store_.reset();
    store_ = std::make_unique<AppleStore>(platform_.platform());
}

std::string LibraryProcess::exchangeText(std::string request) {
    auto text = std::make_shared<std::optional<std::string>>();
    answer(std::move(request), text);
    platform_.mainExecutor->runUntilIdle();
    if (!*text) throw std::runtime_error("the exchange has not come to its end");
    return **text;
}

DetachedTask LibraryProcess::answer(std::string request,
                                    std::shared_ptr<std::optional<std::string>> text) {
    try {
        *text = (co_await store_->exchange(std::move(request))).view();
    } catch (const std::exception& error) {
        *text = errorEnvelope(error);
    }
}

}  // namespace kelto::history
