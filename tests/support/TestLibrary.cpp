#include "tests/support/TestLibrary.hpp"

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <sqlite3.h>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

TestLibrary::TestLibrary() {
    std::filesystem::create_directories(exchangeFolder());
    restart();
}

void TestLibrary::restart() {
    store_.reset();
    store_ = std::make_unique<AppleStore>(platform_.platform());
    intake_ = std::make_unique<RequestIntake>();
}

DetachedTask TestLibrary::answer(std::string request, std::shared_ptr<PendingExchange> exchange) {
    try {
        exchange->text_ = (co_await store_->exchange(intake_->take(request))).view();
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
    platform_.mainExecutor->runUntilIdle();
}

void TestLibrary::post(const MirroringEvent& event) {
    platform_.mirroringEvents->post({event});
    run();
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

void TestLibrary::changeStore(const std::string& sql) const {
    sqlite3* database = nullptr;
    char* message = nullptr;
    std::string failure;
    if (sqlite3_open_v2(storePath().c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) !=
            SQLITE_OK ||
        sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        failure = message != nullptr ? message : sqlite3_errmsg(database);
    }
    sqlite3_free(message);
    sqlite3_close(database);
    if (!failure.empty()) throw std::runtime_error("the test cannot change the store: " + failure);
}

std::string TestLibrary::libraryFolder() const {
    return joinedPath(groupFolder(), "Library");
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
    std::string path = joinedPath(exchangeFolder(), name);
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

}  // namespace kelto
