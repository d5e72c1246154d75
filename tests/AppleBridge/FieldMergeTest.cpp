#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string id = identifier(1);

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
    const RecordBuilder stored = RecordBuilder::thing(id)
                                     .with("title", "stored")
                                     .with("note", "stored")
                                     .with("isStarred", true)
                                     .with("updatedAt", GetParam().stored);
    const Response before = library.exchange(RequestBuilder().record(stored));
    const Response after = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(id)
                                    .with("title", "host")
                                    .with("updatedAt", JsonValue::parse(GetParam().incoming))));
    if (GetParam().hostWins) {
        EXPECT_EQ(after.string(id, "title"), "host");
        EXPECT_EQ(after.string(id, "note"), "");
        EXPECT_FALSE(after.boolean(id, "isStarred"));
    } else {
        EXPECT_EQ(after.record(id), before.record(id));
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
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(id)));
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(id).with("title", "a").with("updatedAt", 2000))
            .record(RecordBuilder::thing(id).with("title", "b").with("updatedAt", 1000)));
    EXPECT_EQ(response.string(id, "title"), "a");
}

TEST(FieldMerge, UpdatesProjectsAndTagsWhateverTheirAge) {
    TestLibrary library;
    const std::string tag = identifier(2);
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(id).with("name", "old").with("createdAt", 2000))
            .record(RecordBuilder::tag(tag).with("name", "old").with("createdAt", 2000)));
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(id).with("name", "new").with("createdAt", 1000))
            .record(RecordBuilder::tag(tag).with("name", "new").with("createdAt", 1000)));
    EXPECT_EQ(response.string(id, "name"), "new");
    EXPECT_EQ(response.integer(id, "createdAt"), 1000);
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
            .record(RecordBuilder::project(id)
                        .with("name", "a")
                        .with("sortOrder", 5)
                        .with("createdAt", 1000))
            .record(RecordBuilder::tag(tag).with("name", "b").with("createdAt", 1000)));
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::project(id)).record(RecordBuilder::tag(tag)));
    EXPECT_EQ(response.string(id, "name"), "");
    EXPECT_EQ(response.integer(id, "sortOrder"), 0);
    EXPECT_EQ(response.integer(id, "createdAt"), 0);
    EXPECT_EQ(response.string(tag, "name"), "");
    EXPECT_EQ(response.integer(tag, "createdAt"), 0);
}

TEST(FieldMerge, ResetsEveryFieldOfAThingThatTheHostLeavesOut) {
    TestLibrary library;
    const std::string file = library.putFile("in", "bytes");
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::tag(identifier(2)))
                               .record(RecordBuilder::project(identifier(3)))
                               .record(RecordBuilder::thing(id)
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
    const Response emptied = library.exchange(RequestBuilder().record(RecordBuilder::thing(id)));

    TestLibrary other;
    const Response fresh = other.exchange(RequestBuilder().record(RecordBuilder::thing(id)));
    EXPECT_EQ(emptied.record(id), fresh.record(id));
}

TEST(FieldMerge, KeepsTheLinkOfAProjectUnlessTheHostSendsAText) {
    TestLibrary library;
    const auto owner = [&](const RecordBuilder& project) {
        return library.exchange(RequestBuilder().record(project)).string(id, "linkedFolderOwner");
    };
    EXPECT_EQ(owner(RecordBuilder::project(id).with("linkedFolderOwner", "Mac")), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(id)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(id).with("linkedFolderOwner", nullptr)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(id).with("linkedFolderOwner", 5)), "Mac");
    EXPECT_EQ(owner(RecordBuilder::project(id).with("linkedFolderOwner", "")), "");
}

TEST(FieldMerge, AttachesKnownTagsAndDropsWhatNamesNone) {
    TestLibrary library;
    const std::string red = identifier(0xA);
    const std::string blue = identifier(0xB);
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(id).with("tags",
                                                  JsonElements{blue,
                                                               identifier(99),
                                                               "nonsense",
                                                               5,
                                                               nullptr,
                                                               Uuid::parse(red)->upperCaseText(),
                                                               blue}))
            .record(RecordBuilder::tag(red))
            .record(RecordBuilder::tag(blue)));
    EXPECT_THAT(response.strings(id, "tags"), ElementsAre(red, blue));
}

TEST(FieldMerge, AttachesNoTagThatIsOnlyAnotherRecordsIdentifier) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::project(identifier(2)))
                             .record(RecordBuilder::thing(id).withTags({identifier(2), id})));
    EXPECT_THAT(response.strings(id, "tags"), IsEmpty());
}

TEST(FieldMerge, FilesAThingUnderAProjectThatStandsLaterInTheList) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::thing(id).with(
                                 "project", Uuid::parse(identifier(0xA))->upperCaseText()))
                             .record(RecordBuilder::project(identifier(0xA))));
    EXPECT_EQ(response.string(id, "project"), identifier(0xA));
}

TEST(FieldMerge, FilesAThingNowhereWhenItsProjectIsUnknown) {
    for (const JsonValue& project :
         {JsonValue(identifier(9)), JsonValue("nonsense"), JsonValue(5), JsonValue(nullptr)}) {
        TestLibrary library;
        const Response response = library.exchange(
            RequestBuilder().record(RecordBuilder::thing(id).with("project", project)));
        EXPECT_FALSE(response.has(id, "project")) << project.text();
    }
}

TEST(FieldMerge, MovesAThingToAnotherProject) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::project(identifier(2)))
                               .record(RecordBuilder::project(identifier(3)))
                               .record(RecordBuilder::thing(id).with("project", identifier(2))));
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(id).with("project", identifier(3))));
    EXPECT_EQ(response.string(id, "project"), identifier(3));
}

}  // namespace
}  // namespace kelto
