#include <filesystem>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ExchangeRehearsal.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string one = identifier(1);

/// A library, requests that are rehearsed on it, and the exchanges that then follow.
class RehearsalTest : public testing::Test {
protected:
    Rehearsal rehearse(const RequestBuilder& request) {
        const std::string scratch = library.platform().folder.path("scratch");
        std::filesystem::remove_all(scratch);
        std::filesystem::create_directories(scratch);
        Rehearsal result;
        bool isDone = false;
        run(request.text(library.storePath(), library.exchangeFolder()), scratch, result, isDone);
        library.run();
        if (!isDone) throw std::runtime_error("the rehearsal has not come to its end");
        return result;
    }
    /// The one decision about a request of one record; then the exchange happens.
    MergeDecision decision(const RecordBuilder& record) {
        const RequestBuilder request = RequestBuilder().record(record);
        const Rehearsal rehearsal = rehearse(request);
        EXPECT_FALSE(rehearsal.refusal);
        response = library.exchange(request);
        if (rehearsal.decisions.size() != 1) throw std::runtime_error("not one decision");
        return rehearsal.decisions.front();
    }
    static RecordBuilder thing(const std::string& title, double updatedAt) {
        return RecordBuilder::thing(one)
            .with("kind", "note")
            .with("title", title)
            .with("updatedAt", updatedAt);
    }
    /// In a linked folder; answers the file's fingerprint.
    std::string storeLinked(const std::string& title) {
        const RequestBuilder request =
            RequestBuilder()
                .record(RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac"))
                .record(thing(title, 5000).with("project", folderId));
        return library.exchange(request).string(one, "fileFingerprint");
    }
    RecordBuilder linked(const std::string& title, const std::string& base) {
        return thing(title, 1).with("project", folderId).with("baseFileFingerprint", base);
    }

    TestLibrary library;
    Response response{"{}"};

private:
    DetachedTask run(std::string request, std::string scratch, Rehearsal& result, bool& isDone) {
        try {
            result = co_await library.store().rehearse(LargeText(request), scratch);
        } catch (const std::exception&) {
            result.refusal = std::current_exception();
        }
        isDone = true;
    }
};

std::string sentenceOf(const Rehearsal& rehearsal) {
    try {
        if (rehearsal.refusal) std::rethrow_exception(rehearsal.refusal);
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST_F(RehearsalTest, TellsThatARecordMakesAnItem) {
    const MergeDecision made = decision(thing("new", 1000));
    EXPECT_EQ(made.reason, MergeReason::isNew);
    EXPECT_EQ(made.name, "new");
    EXPECT_TRUE(made.changesObject);
    EXPECT_EQ(response.string(one, "title"), "new");
}

TEST_F(RehearsalTest, TellsThatAnEarlierRecordMakesIt) {
    const RequestBuilder request =
        RequestBuilder().record(thing("first", 2000)).record(thing("second", 1000));
    const Rehearsal rehearsal = rehearse(request);
    ASSERT_THAT(rehearsal.decisions, SizeIs(2));
    EXPECT_EQ(rehearsal.decisions[0].reason, MergeReason::isNew);
    EXPECT_EQ(rehearsal.decisions[1].reason, MergeReason::isJustMade);
    EXPECT_EQ(library.exchange(request).string(one, "title"), "second");
}

TEST_F(RehearsalTest, TellsThatProjectsAndTagsAreTakenAsTheyCome) {
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::project(one).with("name", "before")));
    const MergeDecision other = decision(RecordBuilder::project(one).with("name", "after"));
    EXPECT_EQ(other.reason, MergeReason::hostAlwaysWins);
    EXPECT_TRUE(other.changesObject);
    EXPECT_EQ(response.string(one, "name"), "after");
    EXPECT_FALSE(decision(RecordBuilder::project(one).with("name", "after")).changesObject);
}

TEST_F(RehearsalTest, TellsThatALaterRecordWinsAndOneOfTheSameTime) {
    (void)library.exchange(RequestBuilder().record(thing("stored", 1000)));
    const MergeDecision later = decision(thing("later", 2000));
    EXPECT_EQ(later.reason, MergeReason::recordIsNotOlder);
    EXPECT_EQ(later.storedTime, Date{1});
    EXPECT_EQ(later.recordTime, Date{2});
    EXPECT_EQ(response.string(one, "title"), "later");
    EXPECT_EQ(decision(thing("same time", 2000)).reason, MergeReason::recordIsNotOlder);
    EXPECT_EQ(response.string(one, "title"), "same time");
}

TEST_F(RehearsalTest, TellsThatAnEarlierRecordIsPassedOver) {
    (void)library.exchange(RequestBuilder().record(thing("stored", 1000)));
    const MergeDecision earlier = decision(thing("earlier", 999));
    EXPECT_EQ(earlier.reason, MergeReason::storedIsLater);
    EXPECT_FALSE(earlier.changesObject);
    EXPECT_EQ(response.string(one, "title"), "stored");
}

TEST_F(RehearsalTest, TellsThatBothSidesHoldTheSameFile) {
    (void)storeLinked("same");
    const MergeDecision same = decision(linked("same", "anything").with("note", "host"));
    EXPECT_EQ(same.reason, MergeReason::sameFile);
    EXPECT_EQ(same.stored, same.incoming);
    EXPECT_EQ(response.string(one, "note"), "host");
}

TEST_F(RehearsalTest, TellsThatOnlyTheHostHasChangedTheFile) {
    const std::string base = storeLinked("base");
    const MergeDecision changed = decision(linked("host", base));
    EXPECT_EQ(changed.reason, MergeReason::onlyHostChanged);
    EXPECT_EQ(changed.base, base);
    EXPECT_EQ(changed.stored, base);
    EXPECT_EQ(changed.incoming, response.string(one, "fileFingerprint"));
    EXPECT_EQ(response.string(one, "title"), "host");
}

TEST_F(RehearsalTest, TellsThatOnlyTheStoreHasChangedTheFile) {
    const std::string base = storeLinked("base");
    const std::string stored = storeLinked("store");
    const MergeDecision stays = decision(linked("base", base).with("updatedAt", 9e9));
    EXPECT_EQ(stays.reason, MergeReason::onlyStoreChanged);
    EXPECT_EQ(stays.stored, stored);
    EXPECT_EQ(stays.incoming, base);
    EXPECT_FALSE(stays.changesObject);
    EXPECT_EQ(response.string(one, "title"), "store");
}

TEST_F(RehearsalTest, TellsThatBothHaveChangedItAndWhichCopyIsKept) {
    const std::string base = storeLinked("base");
    (void)storeLinked("store");
    const MergeDecision both = decision(linked("host", base));
    EXPECT_EQ(both.reason, MergeReason::bothChanged);
    EXPECT_TRUE(both.isCopyNew);
    EXPECT_EQ(response.string(one, "title"), "host");
    EXPECT_EQ(response.string(both.copy->lowerCaseText(), "title"), "store (iCloud conflict)");

    (void)storeLinked("store");
    const MergeDecision again = decision(linked("host", base));
    EXPECT_EQ(again.copy, both.copy);
    EXPECT_FALSE(again.isCopyNew);
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(2));
}

TEST_F(RehearsalTest, TellsDeletionsAndThoseOfWhatIsNotThere) {
    (void)library.exchange(RequestBuilder().record(thing("stored", 1000)));
    const MergeDecision gone = decision(RecordBuilder::deletion("Thing", one));
    EXPECT_EQ(gone.reason, MergeReason::deletedByHost);
    EXPECT_EQ(gone.name, "stored");
    EXPECT_THAT(response.identifiers("Thing"), IsEmpty());
    EXPECT_EQ(decision(RecordBuilder::deletion("Thing", one)).reason, MergeReason::unknownToDelete);
    EXPECT_EQ(decision(RecordBuilder::deletion("Tag", one)).reason, MergeReason::unknownToDelete);
}

TEST_F(RehearsalTest, TellsTheRefusalAndTheRecordThatItIsAbout) {
    const RequestBuilder request =
        RequestBuilder().record(thing("good", 1000)).record(RecordBuilder::tag("no identifier"));
    const Rehearsal rehearsal = rehearse(request);
    EXPECT_EQ(sentenceOf(rehearsal), "Invalid record identifier.");
    EXPECT_EQ(rehearsal.refusedRecord, 1U);
    const Rehearsal circle =
        rehearse(RequestBuilder().record(RecordBuilder::project(one).with("parent", one)));
    EXPECT_EQ(sentenceOf(circle), "The library contains a project cycle.");
    EXPECT_EQ(circle.refusedRecord, std::nullopt);
    const Rehearsal outside =
        rehearse(RequestBuilder().record(thing("a", 1).with("data", "/etc/hostname")));
    EXPECT_EQ(sentenceOf(outside), "Invalid asset path.");
    EXPECT_EQ(outside.refusedRecord, 0U);
}

TEST_F(RehearsalTest, TellsATimeThatWouldEndTheProcessAndGoesOn) {
    EXPECT_THAT(sentenceOf(rehearse(RequestBuilder().record(thing("a", 1e300)))),
                testing::HasSubstr("outside of what can be stored"));
}

TEST_F(RehearsalTest, MakesNoLibraryWhereNoneIs) {
    (void)rehearse(RequestBuilder().record(thing("new", 1000)));
    EXPECT_FALSE(std::filesystem::exists(library.libraryFolder()));
}

TEST_F(RehearsalTest, LeavesTheStoreAndItsFilesAsTheyAre) {
    const std::string large(100'000, 'f');
    (void)library.exchange(
        RequestBuilder().record(thing("film", 1000).with("data", library.putFile("f", large))));
    const std::string before = readFile(library.storePath());
    const auto files = library.externalFiles();
    const Rehearsal rehearsal = rehearse(
        RequestBuilder()
            .record(
                thing("other", 2000).with("data", library.putFile("g", std::string(200'000, 'g'))))
            .record(RecordBuilder::deletion("Thing", identifier(2))));
    EXPECT_THAT(rehearsal.decisions, SizeIs(2));
    EXPECT_EQ(readFile(library.storePath()), before);
    EXPECT_EQ(library.externalFiles(), files);
    // The copy is of the database alone, and no payload has come to it.
    EXPECT_THAT(namesIn(library.platform().folder.path("scratch/.Kelto_SUPPORT/_EXTERNAL_DATA")),
                IsEmpty());
}

TEST_F(RehearsalTest, RefusesTheLibraryOfAnotherAccountWithoutBindingIt) {
    library.platform().account->recordName = "alice";
    EXPECT_EQ(sentenceOf(rehearse(RequestBuilder())), "");
    EXPECT_FALSE(std::filesystem::exists(library.markerPath()));
    (void)library.exchange();
    library.platform().account->recordName = "bob";
    EXPECT_THAT(sentenceOf(rehearse(RequestBuilder())),
                testing::HasSubstr("another iCloud account"));
}

}  // namespace
}  // namespace kelto
