#include <limits>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/HostLibrary.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

/// A host made one call of kelto_apple_exchange and got one callback as promised.
void expectGoodCallback(const HostAnswer& answer, std::int64_t context) {
    EXPECT_EQ(answer.context, context);
    EXPECT_EQ(answer.callbackCount, 1);
    EXPECT_TRUE(answer.onMainThread);
    EXPECT_FALSE(answer.insideCall);
}

TEST(Callback, BringsTheSnapshotOnTheMainThreadAfterTheCallHasReturned) {
    HostLibrary library;
    HostProcess host(library.process());
    const HostAnswer answer = host.ask(library.text(), 5);
    expectGoodCallback(answer, 5);
    EXPECT_EQ(answer.response().status(), "iCloud enabled — waiting for sync");
    EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
}

TEST(Callback, BringsTheErrorEnvelopeForAnEmptyObject) {
    HostLibrary library;
    HostProcess host(library.process());
    const HostAnswer answer = host.ask("{}", 5);
    expectGoodCallback(answer, 5);
    EXPECT_EQ(answer.response().json(),
              JsonValue(JsonMembers{{"version", 1}, {"error", "Invalid bridge request."}}));
}

TEST(Callback, GivesTheContextBackUnchanged) {
    HostLibrary library;
    HostProcess host(library.process());
    for (const std::int64_t context : {std::int64_t{0},
                                       std::int64_t{-1},
                                       std::numeric_limits<std::int64_t>::min(),
                                       std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(host.ask("{}", context).context, context);
    }
}

TEST(Callback, IsMadeOnceForEachCall) {
    HostLibrary library;
    HostProcess host(library.process());
    for (int context = 1; context <= 20; ++context) {
        expectGoodCallback(host.ask(context % 2 == 0 ? "{}" : library.text(), context), context);
    }
    EXPECT_EQ(host.wait(), HostEnd());
}

TEST(Callback, BringsUtf8) {
    HostLibrary library;
    HostProcess host(library.process());
    const HostAnswer answer = host.ask(library.text(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("title", "Größe 😀 …"))));
    EXPECT_THAT(answer.text, testing::HasSubstr("Größe 😀 …"));
    EXPECT_THAT(answer.text, testing::HasSubstr("\xE2\x80\x94"));
}

TEST(Callback, ComesRightForAHostThatFreesItsRequestAtOnce) {
    HostLibrary library;
    HostProcess host(library.process({"exchange", "--scribble", "--in-flight"}));
    for (int context = 1; context <= 5; ++context) {
        host.send(library.text(RequestBuilder().record(
                      RecordBuilder::tag(identifier(static_cast<unsigned>(context))))),
                  context);
    }
    host.finishInput();
    for (int context = 1; context <= 5; ++context) {
        const HostAnswer answer = host.receive();
        expectGoodCallback(answer, context);
        EXPECT_EQ(answer.response().error(), "");
    }
    EXPECT_EQ(host.wait(), HostEnd());
}

TEST(Callback, ComesOnTheMainThreadAlsoForACallFromAnother) {
    HostLibrary library;
    HostProcess host(library.process({"exchange", "--from-thread", "--scribble"}));
    expectGoodCallback(host.ask(library.text(), -7), -7);
    expectGoodCallback(host.ask("[", 0), 0);
    EXPECT_EQ(host.wait(), HostEnd());
}

TEST(Callback, ComesForEachOfSeveralExchangesInFlight) {
    HostLibrary library;
    HostProcess host(library.process({"exchange", "--in-flight"}));
    constexpr unsigned count = 10;
    for (unsigned i = 1; i <= count; ++i) {
        host.send(library.text(RequestBuilder().record(RecordBuilder::tag(identifier(i)))), i);
    }
    host.finishInput();
    std::set<std::int64_t> contexts;
    for (unsigned i = 1; i <= count; ++i) {
        const HostAnswer answer = host.receive();
        expectGoodCallback(answer, answer.context);
        EXPECT_TRUE(contexts.insert(answer.context).second);
        EXPECT_THAT(answer.response().identifiers("Tag"), testing::SizeIs(i));
    }
    EXPECT_EQ(host.wait(), HostEnd());
}

TEST(Callback, MayStartTheNextExchange) {
    HostLibrary library;
    HostProcess host(library.process({"exchange", "--nested", "--scribble"}));
    host.send(library.text(RequestBuilder().record(RecordBuilder::tag(firstId))), 1);
    for (const std::int64_t context : {1, 2}) {
        const HostAnswer answer = host.receive();
        expectGoodCallback(answer, context);
        EXPECT_THAT(answer.response().identifiers("Tag"), ElementsAre(firstId));
    }
    EXPECT_EQ(host.wait(), HostEnd());
}

TEST(Callback, BringsAnErrorForEveryRequestThatIsNone) {
    HostLibrary library;
    HostProcess host(library.process());
    for (const char* request : {"", " ", "nonsense", "5", "null", "[]", "{\"version\":1}"}) {
        EXPECT_TRUE(host.ask(request).response().isError()) << request;
    }
    EXPECT_FALSE(exists(library.groupFolder()));
}

TEST(Callback, ComesForARequestThatIsNotUtf8) {
    HostLibrary library;
    HostProcess host(library.process());
    std::string request = library.text(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("title", "a-broken-b")));
    request.replace(request.find("-broken-"), 8, "\xC3\x28\xFF");
    const Response response = host.ask(request).response();
    EXPECT_EQ(response.string(firstId, "title"),
              "a\xEF\xBF\xBD(\xEF\xBF\xBD"
              "b");
}

TEST(Callback, ComesForARequestOfManyMegabytes) {
    HostLibrary library;
    HostProcess host(library.process());
    std::string content;
    content.resize(20'000'000, 'x');
    const HostAnswer answer = host.ask(library.text(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("content", content))));
    EXPECT_EQ(answer.response().string(firstId, "content"), content);
}

}  // namespace
}  // namespace kelto
