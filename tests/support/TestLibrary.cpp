#include "tests/support/TestLibrary.hpp"

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "tests/support/Files.hpp"

namespace kelto::test {

TestLibrary::TestLibrary() {
    std::filesystem::create_directories(exchangeFolder());
    restart();
}

void TestLibrary::restart() {
    store_.reset();
    store_ = std::make_unique<AppleStore>(platform_.platform());
}

DetachedTask TestLibrary::answer(std::string request, std::shared_ptr<PendingExchange> exchange) {
    try {
        exchange->text_ = co_await store_->exchange(std::move(request));
    } catch (const std::exception& error) {
        exchange->text_ = errorEnvelope(error);
    }
}

std::shared_ptr<PendingExchange> TestLibrary::begin(const RequestBuilder& request) {
    auto exchange = std::make_shared<PendingExchange>();
    answer(request.text(storePath(), exchangeFolder()), exchange);
    return exchange;
}

void TestLibrary::run() {
    platform_.executor().runAll();
}

std::string TestLibrary::exchangeText(std::string request) {
    auto exchange = std::make_shared<PendingExchange>();
    answer(std::move(request), exchange);
    run();
    if (!exchange->isDone()) throw std::runtime_error("the exchange has not come to its end");
    return *exchange->text_;
}

Response TestLibrary::exchange(const RequestBuilder& request) {
    return Response(exchangeText(request.text(storePath(), exchangeFolder())));
}

std::string TestLibrary::groupFolder() const {
    return joinedPath(folder_.path(), "group");
}

std::string TestLibrary::exchangeFolder() const {
    return joinedPath(folder_.path(), "exchange");
}

std::string TestLibrary::libraryFolder() const {
    return joinedPath(groupFolder(), "Library");
}

std::string TestLibrary::storePath() const {
    return joinedPath(libraryFolder(), "Kelto.store");
}

std::string TestLibrary::markerPath() const {
    return joinedPath(libraryFolder(), "AvaloniaCloudAccount");
}

std::string TestLibrary::externalFolder() const {
    return joinedPath(libraryFolder(), ".Kelto_SUPPORT/_EXTERNAL_DATA");
}

std::vector<std::string> TestLibrary::externalFiles() const {
    return namesIn(externalFolder());
}

std::string TestLibrary::receivedFolder() const {
    return joinedPath(exchangeFolder(), "received");
}

std::string TestLibrary::putFile(std::string_view name, std::string_view bytes) {
    const std::string path = joinedPath(exchangeFolder(), name);
    writeFile(path, bytes);
    return path;
}

std::vector<std::string> TestLibrary::receivedFiles() const {
    return namesIn(receivedFolder());
}

std::string TestLibrary::received(std::string_view uuid, std::string_view key) const {
    return readFile(joinedPath(receivedFolder(), std::string(uuid) + "." + std::string(key)));
}

void TestLibrary::clearReceived() {
    std::filesystem::remove_all(receivedFolder());
}

}  // namespace kelto::test
