// What somebody who looks for a fault gets to see of an exchange.

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A library whose exchanges somebody watches.
class WatchedLibrary {
public:
    WatchedLibrary() { diagnostics().wanted = true; }

    Response exchange(const RequestBuilder& request) { return library.exchange(request); }
    FakeDiagnostics& diagnostics() { return *library.platform().diagnostics; }
    std::int64_t figure(std::string_view stage, std::string_view name) {
        return diagnostics().figure(stage, name);
    }

    TestLibrary library;
};

RecordBuilder note(const std::string& uuid, int updatedAt = 1000) {
    return RecordBuilder::thing(uuid).with("kind", "note").with("updatedAt", updatedAt);
}

TEST(Diagnostics, AreAskedOnceAndToldNothingWhenNobodyWantsToKnow) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(note(firstId)));
    EXPECT_EQ(library.platform().diagnostics->timesAsked, 1);
    EXPECT_THAT(library.platform().diagnostics->events, IsEmpty());
}

TEST(Diagnostics, TellTheStagesInTheirOrder) {
    WatchedLibrary watched;
    (void)watched.exchange(RequestBuilder().record(note(firstId)));
    EXPECT_THAT(watched.diagnostics().stages(),
                ElementsAre("received", "opened", "merged", "saved", "exported", "answered"));
}

TEST(Diagnostics, NumberTheExchanges) {
    WatchedLibrary watched;
    (void)watched.exchange(RequestBuilder());
    (void)watched.exchange(RequestBuilder().with("version", 2));
    EXPECT_EQ(watched.diagnostics().last("answered").exchange, 1);
    EXPECT_EQ(watched.diagnostics().last("refused").exchange, 2);
}

TEST(Diagnostics, CountBytesAndRecordsOfRequestAndAnswer) {
    WatchedLibrary watched;
    const RequestBuilder request =
        RequestBuilder().record(note(firstId)).record(RecordBuilder::tag(identifier(2)));
    const std::string text =
        request.text(watched.library.storePath(), watched.library.exchangeFolder());
    const std::string answer = watched.library.exchangeText(text);
    EXPECT_EQ(watched.figure("received", "bytes"), std::ssize(text));
    EXPECT_EQ(watched.figure("received", "records"), 2);
    EXPECT_EQ(watched.figure("received", "read"), 2);
    EXPECT_EQ(watched.figure("exported", "records"), 2);
    EXPECT_EQ(watched.figure("answered", "bytes"), std::ssize(answer));

    (void)watched.library.exchangeText(text);
    EXPECT_EQ(watched.figure("received", "records"), 2);
    EXPECT_EQ(watched.figure("received", "read"), 0) << "nothing but what it was before";
}

TEST(Diagnostics, CountWhatBecameOfTheRecords) {
    WatchedLibrary watched;
    (void)watched.exchange(
        RequestBuilder().record(note(firstId, 5000)).record(note(identifier(2), 5000)));
    EXPECT_EQ(watched.figure("merged", "created"), 2);
    EXPECT_EQ(watched.figure("merged", "applied"), 2);
    EXPECT_EQ(watched.figure("merged", "kept"), 0);

    (void)watched.exchange(RequestBuilder()
                               .record(note(firstId, 5000))          // as it was
                               .record(note(identifier(2), 4000))    // older than the store's
                               .record(note(identifier(3), 9000)));  // new
    EXPECT_EQ(watched.figure("merged", "created"), 1);
    EXPECT_EQ(watched.figure("merged", "applied"), 1);
    EXPECT_EQ(watched.figure("merged", "kept"), 1);
    EXPECT_EQ(watched.figure("merged", "skipped"), 1);
    EXPECT_EQ(watched.figure("merged", "deleted"), 0);

    (void)watched.exchange(RequestBuilder()
                               .record(RecordBuilder::deletion("Thing", firstId))
                               .record(RecordBuilder::deletion("Thing", identifier(9))));
    EXPECT_EQ(watched.figure("merged", "deleted"), 1) << "the other one was not there";
}

TEST(Diagnostics, CountCopiesOfWhatBothSidesHaveChanged) {
    WatchedLibrary watched;
    const std::string folder = identifier(0xF);
    const auto item = [&](const std::string& title) {
        return note(firstId).with("project", folder).with("title", title);
    };
    (void)watched.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(folder).with("linkedFolderOwner", "Mac"))
            .record(item("theirs")));
    EXPECT_EQ(watched.figure("merged", "conflicts"), 0);
    (void)watched.exchange(
        RequestBuilder().record(item("mine").with("baseFileFingerprint", "of neither")));
    EXPECT_EQ(watched.figure("merged", "conflicts"), 1);
}

TEST(Diagnostics, CountRowsObjectsAndFiles) {
    WatchedLibrary watched;
    const std::string file = watched.library.putFile("in", "eleven byte");
    const RequestBuilder request = RequestBuilder().record(note(firstId).with("data", file));
    (void)watched.exchange(request);
    EXPECT_EQ(watched.figure("saved", "rows"), 2) << "the thing and its payload";
    EXPECT_GE(watched.figure("merged", "files"), 1);
    EXPECT_EQ(watched.figure("merged", "bytes"), 11);
    EXPECT_EQ(watched.figure("exported", "files"), 1);
    EXPECT_EQ(watched.figure("exported", "bytes"), 11);

    watched.library.restart();
    (void)watched.exchange(RequestBuilder());
    EXPECT_EQ(watched.figure("opened", "loaded"), 1);
    EXPECT_EQ(watched.figure("saved", "rows"), 0);
}

TEST(Diagnostics, TellHowLongItTook) {
    WatchedLibrary watched;
    watched.library.platform().clock->uptimePerReading = std::chrono::milliseconds(7);
    (void)watched.exchange(RequestBuilder());
    std::chrono::nanoseconds sum{};
    for (const DiagnosticEvent& event : watched.diagnostics().events) {
        if (std::string_view(event.stage.get()) != "answered") sum += event.time;
    }
    EXPECT_EQ(watched.diagnostics().last("merged").time, std::chrono::milliseconds(7));
    EXPECT_EQ(watched.diagnostics().last("answered").time, sum + std::chrono::milliseconds(7));
}

struct Refused {
    const char* name;
    void (*spoil)(TestLibrary& library, RequestBuilder& request);
    const char* word;
};

class RefusedExchange : public testing::TestWithParam<Refused> {};

TEST_P(RefusedExchange, IsToldByItsKind) {
    WatchedLibrary watched;
    RequestBuilder request;
    GetParam().spoil(watched.library, request);
    EXPECT_TRUE(watched.exchange(request).isError());
    EXPECT_STREQ(watched.diagnostics().events.back().stage.get(), "refused");
    EXPECT_STREQ(watched.diagnostics().events.back().refusal.get(), GetParam().word);
}

constexpr Refused refusedExchanges[] = {
    {"Version",
     [](TestLibrary&, RequestBuilder& request) { request.with("version", 2); },
     "invalid-request"},
    {"BuiltWithoutCloud",
     [](TestLibrary& library, RequestBuilder&) {
         library.platform().environment->values["KELTO_DISABLE_CLOUDKIT"] = "";
     },
     "not-provisioned"},
    {"Cycle",
     [](TestLibrary&, RequestBuilder& request) {
         request.record(RecordBuilder::project(firstId).with("parent", firstId));
     },
     "project-cycle"},
    {"AccountService",
     [](TestLibrary& library, RequestBuilder&) {
         library.platform().account->statusFailure =
             PlatformError::described(errorDomain::cloudKit, 9, "Nobody is there");
     },
     "account"},
    {"MissingFile",
     [](TestLibrary& library, RequestBuilder& request) {
         request.record(note(firstId).with("data", library.exchangeFolder() + "/missing"));
     },
     "file"},
    {"NoStore",
     [](TestLibrary& library, RequestBuilder&) {
         std::string text(100, 'x');
         writeFile(library.storePath(), text);
     },
     "store"},
    {"ForeignError",
     [](TestLibrary& library, RequestBuilder&) {
         library.platform().account->statusFailure =
             PlatformError::described("Sesame", 9, "Nobody is there");
     },
     "other"},
};
INSTANTIATE_TEST_SUITE_P(Diagnostics,
                         RefusedExchange,
                         testing::ValuesIn(refusedExchanges),
                         caseName<Refused>);

TEST(Diagnostics, TellOfARequestThatIsNoJsonBeforeAnyStage) {
    WatchedLibrary watched;
    (void)watched.library.exchangeText("{");
    EXPECT_THAT(watched.diagnostics().stages(), ElementsAre("refused"));
    EXPECT_STREQ(watched.diagnostics().events[0].refusal.get(), "unreadable-request");
    EXPECT_EQ(watched.figure("refused", "code"), 3840);
}

}  // namespace
}  // namespace kelto
