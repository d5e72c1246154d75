#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/HostLibrary.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

using testing::IsEmpty;

std::string received(const HostLibrary& library, const std::string& key) {
    return readFile(library.receivedFolder() + "/" + firstId + "." + key);
}

TEST(Restart, FindsRecordsAndPayloadsAgain) {
    HostLibrary library;
    const std::string large(300'000, 'L');
    const Response before =
        library.exchangeOnce(RequestBuilder()
                                 .record(RecordBuilder::project(identifier(2)).with("name", "Home"))
                                 .record(RecordBuilder::tag(identifier(3)).with("name", "Red"))
                                 .record(RecordBuilder::thing(firstId)
                                             .with("title", "Title")
                                             .with("project", identifier(2))
                                             .withTags({identifier(3)})
                                             .with("data", library.putFile("large", large))
                                             .with("icon", library.putFile("small", "small"))));
    EXPECT_EQ(before.error(), "");
    std::filesystem::remove_all(library.exchangeFolder());
    const Response after = library.exchangeOnce();
    EXPECT_EQ(after.records(), before.records());
    EXPECT_EQ(received(library, "data"), large);
    EXPECT_EQ(received(library, "icon"), "small");
}

TEST(Restart, LetsAHostThatKnowsTheFingerprintsKeepItsFiles) {
    HostLibrary library;
    const Response before = library.exchangeOnce(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("data", library.putFile("in", "bytes"))));
    std::filesystem::remove_all(library.receivedFolder());
    const Response after = library.exchangeOnce(
        RequestBuilder().knownFingerprint(firstId, before.string(firstId, "fingerprint")));
    EXPECT_THAT(namesIn(library.receivedFolder()), IsEmpty());
    EXPECT_EQ(after.record(firstId), before.record(firstId));
}

TEST(Restart, HandsTheLibraryFromOneHostToTheNext) {
    HostLibrary library;
    HostProcess first(library.process());
    (void)first.ask(
        library.text(RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "a"))));
    HostProcess second(library.process());
    EXPECT_EQ(second.ask(library.text()).response().string(firstId, "name"), "a");
    (void)second.ask(
        library.text(RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "b"))));
    EXPECT_EQ(first.ask(library.text()).response().string(firstId, "name"), "b")
        << "both had the store open";
    EXPECT_EQ(first.wait(), HostEnd());
    EXPECT_EQ(second.wait(), HostEnd());
}

TEST(Restart, AfterARefusedRequestFindsTheStoreAsItWas) {
    HostLibrary library;
    const Response before = library.exchangeOnce(
        RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "a")));
    EXPECT_EQ(library
                  .exchangeOnce(RequestBuilder()
                                    .record(RecordBuilder::tag(firstId).with("name", "b"))
                                    .record(RecordBuilder::tag("x")))
                  .error(),
              "Invalid record identifier.");
    EXPECT_EQ(library.exchangeOnce().records(), before.records());
}

TEST(Restart, AfterAKilledHostFindsAllThatWasAnswered) {
    HostLibrary library;
    {
        HostProcess host(library.process());
        (void)host.ask(library.text(RequestBuilder().record(RecordBuilder::thing(firstId).with(
            "data", library.putFile("in", std::string(100'000, 'x'))))));
        // Leaving the scope kills it.
    }
    EXPECT_FALSE(library.exchangeOnce().isError());
    EXPECT_EQ(received(library, "data"), std::string(100'000, 'x'));
}

// --- A moment that nobody can write back
// ----------------------------------------------------------

class FatalMoment : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(FatalMoment, StopsTheProcessBeforeAnythingIsSaved) {
    HostLibrary library;
    const Response before = library.exchangeOnce(
        RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "a")));
    HostProcess host(library.process());
    host.send(library.text(RequestBuilder()
                               .record(RecordBuilder::tag(firstId).with("name", "b"))
                               .record(RecordBuilder(GetParam().first, identifier(2))
                                           .with(GetParam().second, 1e300))),
              1);
    const HostEnd end = host.wait();
    EXPECT_THAT(host.standardError(),
                testing::ContainsRegex("Fatal error: .*\\(kelto/AppleBridge:[0-9]+\\)"));
    EXPECT_EQ(end, (HostEnd{.exitCode = 0, .signal = SIGABRT}));
    EXPECT_EQ(library.exchangeOnce().records(), before.records());
}
INSTANTIATE_TEST_SUITE_P(Restart,
                         FatalMoment,
                         testing::Values(std::pair("Project", "createdAt"),
                                         std::pair("Tag", "createdAt"),
                                         std::pair("Thing", "createdAt"),
                                         std::pair("Thing", "updatedAt"),
                                         std::pair("Thing", "trashedAt")),
                         [](const auto& moment) {
                             return std::string(moment.param.first) + "_" + moment.param.second;
                         });

}  // namespace
}  // namespace kelto
