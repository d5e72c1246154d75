#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/keltoctl/FakeLibrary.hpp"
#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/Session.hpp"

namespace kelto::ctl {
namespace {

class SessionTest : public testing::Test {
protected:
    SessionTest() {
        for (const char* id : {"a", "b"}) {
            ThingRecord thing;
            thing.id = id;
            thing.kind = "document";
            thing.data = files.write(std::string("exchange/") + id, id);
            session.send({toRecord(thing)});
        }
    }

    TemporaryFolder files;
    FakeLibrary library;
    HostState state{files.path("state"), "/store"};
    Session session{library, state, "/store"};
};

TEST_F(SessionTest, SendsAllFieldsOfTheOneThingThatChanged) {
    ThingRecord thing = *session.snapshot().findThing("a");
    thing.title = "new";
    const ExchangeReport report = session.send({toRecord(thing)});
    EXPECT_EQ(report.recordsSent, 1U);
    EXPECT_EQ(report.fingerprintsChanged, 1U);
    EXPECT_EQ(report.payloadFilesWritten, 1U);
    EXPECT_EQ(library.payloads.at("a.data"), "a");  // the payload travelled back as it stood
    ASSERT_EQ(report.difference.changed.size(), 1U);
    EXPECT_EQ(report.difference.changed[0].name, "new");
}

TEST_F(SessionTest, TellsTheFingerprintOfEveryThing) {
    session.refresh();
    const JsonValue& known = *library.requests.back().member("knownFingerprints");
    EXPECT_EQ(textOf(known, "Thing:a"), session.snapshot().findThing("a")->fingerprint);
    EXPECT_EQ(textOf(known, "Thing:b"), session.snapshot().findThing("b")->fingerprint);
}

TEST_F(SessionTest, WritesNoFileWhenNothingChanged) {
    EXPECT_EQ(session.refresh().payloadFilesWritten, 0U);
}

TEST_F(SessionTest, AsksForPayloadFilesThatSomebodyRemoved) {
    std::filesystem::remove(*session.snapshot().findThing("b")->data);
    EXPECT_EQ(session.refresh().payloadFilesWritten, 1U);
    EXPECT_TRUE(std::filesystem::exists(*session.snapshot().findThing("b")->data));
}

TEST_F(SessionTest, KnowsTheLastAnswerInTheNextRun) {
    const Session next(library, state, "/store");
    EXPECT_TRUE(next.hasSnapshot());
    EXPECT_EQ(next.snapshot().things().size(), 2U);
}

TEST_F(SessionTest, SendsEverythingWithTheStateItIsBasedOn) {
    session.sendAll();
    EXPECT_EQ(library.lastRecords().size(), 2U);
    EXPECT_EQ(textOf(library.lastRecords()[0], "baseFileFingerprint"),
              session.snapshot().findThing("a")->fileFingerprint);
}

TEST_F(SessionTest, PassesTheLibrarysSentenceOnAndKeepsWhatItKnew) {
    library.refusal = "Sign in to iCloud.";
    try {
        session.refresh();
        FAIL() << "a refusal was taken for an answer";
    } catch (const Refusal& refusal) {
        EXPECT_STREQ(refusal.what(), "Sign in to iCloud.");
    }
    EXPECT_EQ(session.snapshot().things().size(), 2U);
    EXPECT_TRUE(state.lastSnapshot());
}

TEST_F(SessionTest, SaysThatAChangeIsInTheLibraryWhenItsAnswerCannotBeKept) {
    ThingRecord thing = *session.snapshot().findThing("a");
    thing.title = "new";
    // Nothing takes the place of a folder that is not empty.
    std::filesystem::remove(state.folder() + "/snapshot.json");
    std::filesystem::create_directories(state.folder() + "/snapshot.json/full");
    try {
        session.send({toRecord(thing)});
        ADD_FAILURE() << "the answer was kept";
    } catch (const Refusal& refusal) {
        EXPECT_THAT(refusal.what(), testing::StartsWith("what was sent is in the library"));
    }
    EXPECT_EQ(textOf(library.things.at("a"), "title"), "new");
    try {
        session.refresh();
        ADD_FAILURE() << "the answer was kept";
    } catch (const Refusal& refusal) {
        EXPECT_THAT(refusal.what(), testing::StartsWith("cannot write"));
    }
}

TEST_F(SessionTest, SaysWhatIsNewAndWhatHasGone) {
    library.things["c"] = library.things["b"];
    library.things["c"].setMember("uuid", "c");
    library.payloads["c.data"] = "c";
    library.things.erase("a");
    const Difference found = session.refresh().difference;
    ASSERT_EQ(found.added.size(), 1U);
    EXPECT_EQ(found.added[0].id, "c");
    ASSERT_EQ(found.gone.size(), 1U);
    EXPECT_EQ(found.gone[0].id, "a");
}

TEST(ExchangeReport, CountsInASentence) {
    ExchangeReport report;
    report.recordsSent = 1;
    report.payloadFilesWritten = 2;
    EXPECT_EQ(sentence(report), "1 record sent, 0 fingerprints changed, 2 payload files written");
}

}  // namespace
}  // namespace kelto::ctl
