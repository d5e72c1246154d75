#include "tests/random/LibraryProcess.hpp"

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"

namespace kelto::history {

LibraryProcess::LibraryProcess(FakePlatform& platform) : platform_(platform) {
    restart();
}

void LibraryProcess::restart() {
    store_.reset();
    intake_ = std::make_unique<RequestIntake>();
    store_ = std::make_unique<AppleStore>(platform_.platform());
}

std::string LibraryProcess::exchangeText(std::string request) {
    auto text = std::make_shared<std::optional<std::string>>();
    answer(std::move(request), text);
    platform_.mainExecutor->runUntilIdle();
    if (!*text) throw std::runtime_error("the exchange has not come to its end");
    return **text;
}

std::optional<Rehearsal> LibraryProcess::rehearse(std::string request,
                                                  const std::string& scratchFolder) {
    std::filesystem::remove_all(scratchFolder);
    std::filesystem::create_directories(scratchFolder);
    std::optional<Rehearsal> rehearsal;
    rehearse(std::move(request), scratchFolder, rehearsal);
    platform_.mainExecutor->runUntilIdle();
    return rehearsal;
}

DetachedTask LibraryProcess::rehearse(std::string request,
                                      std::string scratchFolder,
                                      std::optional<Rehearsal>& rehearsal) {
    try {
        rehearsal = co_await store_->rehearse(LargeText(request), std::move(scratchFolder));
    } catch (const std::exception&) {
        // Whatever it is, the exchange that follows says it, and the model knows it.
    }
}

DetachedTask LibraryProcess::answer(std::string request,
                                    std::shared_ptr<std::optional<std::string>> text) {
    try {
        *text = (co_await store_->exchange(intake_->take(request))).view();
    } catch (const std::exception& error) {
        *text = errorEnvelope(error);
    }
}

}  // namespace kelto::history
