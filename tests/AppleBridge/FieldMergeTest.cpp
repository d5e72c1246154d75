#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// --- Which side wins: the time of modification
// ----------------------------------------------------

struct TimeCase {
    const char* name;
    double stored;
    const char* incoming;
    bool hostWins;
};

class TimeRule : public testing::TestWithParam<TimeCase> {};

TEST_P(TimeRule, AppliesTheHostsRecordUnlessTheStoredOneIsLater) {
    TestLibrary library;
    const RecordBuilder stored = RecordBuilder::thing(firstId)
                                     .with("title", "stored")
                                     .with("note", "stored")
                                     .with("isStarred", true)
                                     .with("updatedAt", GetParam().stored);
    const Response before = library.exchange(RequestBuilder().record(stored));
    const Response after = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId)
                                    .with("title", "host")
                                    .with("updatedAt", JsonValue::parse(GetParam().incoming))));
    if (GetParam().hostWins) {
        EXPECT_EQ(after.string(firstId, "title"), "host");
        EXPECT_EQ(after.string(firstId, "note"), "");
        EXPECT_FALSE(after.boolean(firstId, "isStarred"));
    } else {
        EXPECT_EQ(after.record(firstId), before.record(firstId));
    }
}

constexpr TimeCase timeCases[] = {
    {"StoredOneMillisecondLater", 1001, "1000", false},
    {"EqualTimes", 1000, "1000", true},
    {"HostOneMillisecondLater", 1000, "1001", true},
    {"StoredAFractionLater", 1000.5, "1000.4", false},
    {"HostAFractionLater", 1000.4, "1000.5", true},
    {"StoredLaterThanNothing", 1, "null", false},
    {"StoredLaterThanAText", 1, R"("2000")", false},
    {"StoredLaterThanTrue", 1, "true", false},
    {"StoredAtZeroAgainstNothing", 0, "null", true},
    {"StoredBefore1970AgainstNothing", -1, "null", true},
};
INSTANTIATE_TEST_SUITE_P(FieldMerge, TimeRule, testing::ValuesIn(timeCases), caseName<TimeCase>);

TEST(FieldMerge, ComparesTheSecondRecordOfAStoredThingWithTheFirst) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(firstId).with("title", "a").with("updatedAt", 2000))
            .record(RecordBuilder::thing(firstId).with("title", "b").with("updatedAt", 1000)));
    EXPECT_EQ(response.string(firstId, "title"), "a");
}

TEST(FieldMerge, UpdatesProjectsAndTagsWhateverTheirAge) {
    TestLibrary library;
    const std::string tag = identifier(2);
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(firstId).with("name", "old").with("createdAt", 2000))
            .record(RecordBuilder::tag(tag).with("name", "old").with("createdAt", 2000)));
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(firstId).with("name", "new").with("createdAt", 1000))
            .record(RecordBuilder::tag(tag).with("name", "new").with("createdAt", 1000)));
    EXPECT_EQ(response.string(firstId, "name"), "new");
    EXPECT_EQ(response.integer(firstId, "createdAt"), 1000);
    EXPECT_EQ(response.string(tag, "name"), "new");
    EXPECT_EQ(response.integer(tag, "createdAt"), 1000);
}

// --- Fields
// ---------------------------------------------------------------------------------------

TEST(FieldMerge, ResetsTheFieldsOfAProjectAndATagThatTheHostLeavesOut) {
    TestLibrary library;
    const std::string tag = identifier(2);
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(firstId)
                        .with("name", "a")
                        .with("sortOrder", 5)
                        .with("createdAt", 1000))
            .record(RecordBuilder::tag(tag).with("name", "b").with("createdAt", 1000)));
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::project(firstId)).record(RecordBuilder::tag(tag)));
    EXPECT_EQ(response.string(firstId, "name"), "");
    EXPECT_EQ(response.integer(firstId, "sortOrder"), 0);
    EXPECT_EQ(response.integer(firstId, "createdAt"), 0);
    EXPECT_EQ(response.string(tag, "name"), "");
    EXPECT_EQ(response.integer(tag, "createdAt"), 0);
}

TEST(FieldMerge, ResetsEveryFieldOfAThingThatTheHostLeavesOut) {
    TestLibrary library;
    const std::string file = library.putFile("in", "bytes");
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::tag(identifier(2)))
                               .record(RecordBuilder::project(identifier(3)))
                               .record(RecordBuilder::thing(firstId)
                                           .with("kind", "image")
                                           .with("title", "a")
                                           .with("subtitle", "b")
                                           .with("content", "c")
                                           .with("note", "d")
                                           .with("urlString", "e")
                                           .with("fileName", "f")
                                           .with("typeIdentifier", "g")
                                           .with("fileSize", 7)
                                           .with("aspectRatio", 2.5)
                                           .with("isStarred", true)
                                           .with("trashedAt", 1)
                                           .with("createdAt", 2)
                                           .with("metadataJson", "{}")
                                           .withTags({identifier(2)})
                                           .with("project", identifier(3))
                                           .with("data", file)
                                           .with("thumbnail", file)
                                           .with("icon", file)));
    const Response emptied =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));

    TestLibrary other;
    const Response fresh = other.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    EXPECT_EQ(emptied.record(firstId), fresh.record(firstId));
}

TEST(FieldMerge, KeepsTheLinkOfAProjectUnlessTheHostSendsAText) {
    TestLibrary library;
    const auto owner = [&](const RecordBuilder& project) {
        return library.exchange(RequestBuilder().record(project))
            .string(firstId, "linkedFolderOwner");
    };
    EXPECT_EQ(owner(RecordBuilder::project(firstId).with("linkedFolderOwner", "Mac")), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(firstId)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(firstId).with("linkedFolderOwner", nullptr)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(firstId).with("linkedFolderOwner", 5)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(firstId).with("linkedFolderOwner", "")), "");
}

TEST(FieldMerge, AttachesKnownTagsAndDropsWhatNamesNone) {
    TestLibrary library;
    const std::string red = identifier(0xA);
    const std::string blue = identifier(0xB);
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::thing(firstId).with(
                                 "tags",
                                 JsonElements{blue,
                                              identifier(99),
                                              "nonsense",
                                              5,
                                              nullptr,
                                              Uuid::parse(red)->upperCaseText(),
                                              blue}))
                             .record(RecordBuilder::tag(red))
                             .record(RecordBuilder::tag(blue)));
    EXPECT_THAT(response.strings(firstId, "tags"), ElementsAre(red, blue));
}

TEST(FieldMerge, AttachesNoTagThatIsOnlyAnotherRecordsIdentifier) {
    TestLibrary library;
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(identifier(2)))
            .record(RecordBuilder::thing(firstId).withTags({identifier(2), firstId})));
    EXPECT_THAT(response.strings(firstId, "tags"), IsEmpty());
}

TEST(FieldMerge, FilesAThingUnderAProjectThatStandsLaterInTheList) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::thing(firstId).with(
                                 "project", Uuid::parse(identifier(0xA))->upperCaseText()))
                             .record(RecordBuilder::project(identifier(0xA))));
    EXPECT_EQ(response.string(firstId, "project"), identifier(0xA));
}

TEST(FieldMerge, FilesAThingNowhereWhenItsProjectIsUnknown) {
    for (const JsonValue& project :
         {JsonValue(identifier(9)), JsonValue("nonsense"), JsonValue(5), JsonValue(nullptr)}) {
        TestLibrary library;
        const Response response = library.exchange(
            RequestBuilder().record(RecordBuilder::thing(firstId).with("project", project)));
        EXPECT_FALSE(response.has(firstId, "project")) << project.text();
    }
}

TEST(FieldMerge, MovesAThingToAnotherProject) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(identifier(2)))
            .record(RecordBuilder::project(identifier(3)))
            .record(RecordBuilder::thing(firstId).with("project", identifier(2))));
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("project", identifier(3))));
    EXPECT_EQ(response.string(firstId, "project"), identifier(3));
}

}  // namespace
}  // namespace kelto
