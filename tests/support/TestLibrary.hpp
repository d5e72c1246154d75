#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/AppleStore.hpp"
#include "kelto/AppleBridge/RequestIntake.hpp"
#include "tests/support/FakePlatform.hpp"
#include "tests/support/RequestBuilder.hpp"
#include "tests/support/Response.hpp"

namespace kelto {

/// An exchange on its way.
class PendingExchange {
public:
    [[nodiscard]] bool isDone() const { return text_.has_value(); }
    /// The response or the error envelope, once it is done.
    [[nodiscard]] Response response() const { return Response(text_.value()); }

private:
    friend class TestLibrary;
    std::optional<std::string> text_;
};

/// A whole library in a temporary folder, on a fake platform: real files, real SQLite; clock,
/// randomness, account, mirroring events and main loop belong to the test.
class TestLibrary {
public:
    TestLibrary();

    /// One exchange as the C interface would run it: the response, or the error envelope.
    std::string exchangeText(std::string request);
    Response exchange(const RequestBuilder& request = {});
    /// The same, but only as far as it goes without the main loop: see run().
    std::shared_ptr<PendingExchange> begin(const RequestBuilder& request = {});
    /// Runs the main loop until it has nothing to do.
    void run();
    /// One mirroring event, observed to its end.
    void post(const MirroringEvent& event);

    /// A new process on the same files.
    void restart();
    /// Another program writes into the store's database, past all rules.
    void changeStore(const std::string& sql) const;

    [[nodiscard]] FakePlatform& platform() { return platform_; }
    [[nodiscard]] AppleStore& store() { return *store_; }

    [[nodiscard]] std::string groupFolder() const { return platform_.groupFolder(); }
    [[nodiscard]] std::string libraryFolder() const;  ///< "Library" in the group folder.
    [[nodiscard]] std::string storePath() const { return platform_.storePath(); }
    [[nodiscard]] std::string markerPath() const;
    /// The files of large payloads beside the store.
    [[nodiscard]] std::string externalFolder() const;
    [[nodiscard]] std::vector<std::string> externalFiles() const;

    /// The folder that requests name as "directory".
    [[nodiscard]] std::string exchangeFolder() const { return platform_.folder.path("exchange"); }
    [[nodiscard]] std::string receivedFolder() const;
    /// Puts a payload file into the exchange folder; answers its path.
    std::string putFile(std::string_view name, std::string_view bytes);
    /// The names in "received", sorted; none when there is no such folder.
    [[nodiscard]] std::vector<std::string> receivedFiles() const;
    /// The bytes of a payload that was received for a thing.
    [[nodiscard]] std::string received(std::string_view uuid, std::string_view key) const;
    /// Empties "received", as a host does once it has taken the files over.
    void clearReceived();

private:
    DetachedTask answer(std::string request, std::shared_ptr<PendingExchange> exchange);

    FakePlatform platform_;
    std::unique_ptr<AppleStore> store_;
    std::unique_ptr<RequestIntake> intake_;
};

}  // namespace kelto
