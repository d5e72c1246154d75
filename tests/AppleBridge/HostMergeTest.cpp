#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string id = identifier(1);

// --- Creation
// -------------------------------------------------------------------------------------

TEST(HostMerge, OfNoRecordsChangesNothing) {
    TestLibrary library;
    const Response before = library.exchange(RequestBuilder()
                                                 .record(RecordBuilder::thing(id))
                                                 .record(RecordBuilder::project(identifier(2)))
                                                 .record(RecordBuilder::tag(identifier(3))));
    EXPECT_EQ(library.exchange().records(), before.records());
}

TEST(HostMerge, CreatesAThingOfBareDefaults) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(RecordBuilder::thing(id)));
    for (const char* key : {"kind",
                            "title",
                            "subtitle",
                            "content",
                            "note",
                            "urlString",
                            "fileName",
                            "typeIdentifier",
                            "metadataJson"}) {
        EXPECT_EQ(response.string(id, key), "") << key;
    }
    EXPECT_EQ(response.integer(id, "fileSize"), 0);
    EXPECT_EQ(response.number(id, "aspectRatio"), 1.0);
    EXPECT_FALSE(response.boolean(id, "isStarred"));
    EXPECT_EQ(response.integer(id, "createdAt"), 0);
    EXPECT_EQ(response.integer(id, "updatedAt"), 0);
}

TEST(HostMerge, CreatesAProjectAndATagOfBareDefaults) {
    TestLibrary library;
    const std::string tag = identifier(2);
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::project(id)).record(RecordBuilder::tag(tag)));
    EXPECT_EQ(response.string(id, "name"), "");
    EXPECT_EQ(response.integer(id, "sortOrder"), 0);
    EXPECT_EQ(response.string(id, "linkedFolderOwner"), "");
    EXPECT_EQ(response.integer(id, "createdAt"), 0);
    EXPECT_EQ(response.string(tag, "name"), "");
    EXPECT_EQ(response.integer(tag, "createdAt"), 0);
}

TEST(HostMerge, FindsARecordByItsIdentifierInUpperCase) {
    TestLibrary library;
    const std::string lowerCase = identifier(0xABC);
    const std::string upperCase = Uuid::parse(lowerCase)->upperCaseText();
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(lowerCase)));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::tag(upperCase).with("name", "a")));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(lowerCase));
    EXPECT_EQ(response.string(lowerCase, "name"), "a");
}

TEST(HostMerge, KeepsRecordsOfDifferentTypesUnderOneIdentifierApart) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder()
                                                   .record(RecordBuilder::project(id))
                                                   .record(RecordBuilder::tag(id))
                                                   .record(RecordBuilder::thing(id)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(id));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(id));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(id));
}

TEST(HostMerge, TakesTheSecondOfTwoRecordsOfANewThing) {
    TestLibrary library;
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(id).with("title", "a").with("updatedAt", 2000))
            .record(RecordBuilder::thing(id).with("title", "b").with("updatedAt", 1000)));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(id));
    EXPECT_EQ(response.string(id, "title"), "b");
}

TEST(HostMerge, SurvivesARestart) {
    TestLibrary library;
    const Response before =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::project(identifier(2)).with("name", "Home"))
                             .record(RecordBuilder::tag(identifier(3)).with("name", "Red"))
                             .record(RecordBuilder::thing(id)
                                         .with("title", "Title")
                                         .with("project", identifier(2))
                                         .withTags({identifier(3)})
                                         .with("createdAt", 1.25)
                                         .with("trashedAt", 2.5)));
    library.restart();
    EXPECT_EQ(library.exchange().records(), before.records());
}

TEST(HostMerge, SeesWhatAnotherProgramHasWrittenMeanwhile) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(id).with("name", "a")));
    library.changeStore(R"(UPDATE "Tag" SET "name" = 'b')");
    EXPECT_EQ(library.exchange().string(id, "name"), "b");
}

// --- Live or deleted
// ------------------------------------------------------------------------------

class LiveRecord : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(LiveRecord, IsWhateverIsNotDeletedTrue) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::tag(id).with("deleted", JsonValue::parse(GetParam().second))));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(id));
}
INSTANTIATE_TEST_SUITE_P(HostMerge,
                         LiveRecord,
                         testing::Values(std::pair("False", "false"),
                                         std::pair("TextTrue", R"("true")"),
                                         std::pair("One", "1"),
                                         std::pair("Null", "null"),
                                         std::pair("List", "[true]")),
                         [](const auto& live) { return std::string(live.param.first); });

TEST(HostMerge, DeletesARecordOfEachType) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::project(identifier(1)))
                               .record(RecordBuilder::tag(identifier(2)))
                               .record(RecordBuilder::thing(identifier(3))));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Project", identifier(1)))
                             .record(RecordBuilder::deletion("Tag", identifier(2)))
                             .record(RecordBuilder::deletion("Thing", identifier(3))));
    EXPECT_THAT(response.records(), IsEmpty());
    library.restart();
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(HostMerge, DeletesNothingForAnUnknownIdentifierOrAnotherType) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(id)));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Thing", id))
                             .record(RecordBuilder::deletion("Project", identifier(7)))
                             .record(RecordBuilder::deletion("Tag", identifier(8))));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(id));
}

TEST(HostMerge, IgnoresAllOtherKeysOfADeletion) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(id)));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", id)
                                                     .with("data", "/etc/passwd")
                                                     .with("updatedAt", -1)
                                                     .with("title", 5)));
    EXPECT_THAT(response.records(), IsEmpty());
}

TEST(HostMerge, DeletesARecordThatTheSameRequestAlsoUpdates) {
    for (const bool deletionFirst : {false, true}) {
        TestLibrary library;
        RequestBuilder request;
        if (deletionFirst) request.record(RecordBuilder::deletion("Thing", id));
        request.record(RecordBuilder::thing(id).with("title", "a"));
        if (!deletionFirst) request.record(RecordBuilder::deletion("Thing", id));
        EXPECT_THAT(library.exchange(request).records(), IsEmpty());
    }
}

TEST(HostMerge, DeletesTwiceWithoutComplaint) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(id)));
    const Response response = library.exchange(RequestBuilder()
                                                   .record(RecordBuilder::deletion("Tag", id))
                                                   .record(RecordBuilder::deletion("Tag", id)));
    EXPECT_THAT(response.records(), IsEmpty());
}

// --- Records that fail the exchange
// ---------------------------------------------------------------

struct FailingRecord {
    const char* name;
    const char* json;
    const char* sentence;
};

class RefusedRecord : public testing::TestWithParam<FailingRecord> {};

TEST_P(RefusedRecord, FailsTheWholeExchange) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(id).with("name", "before")));
    const std::string change = RecordBuilder::tag(id).with("name", "after").json().text();
    const Response response = library.exchange(RequestBuilder().with(
        "records", JsonValue::parse("[" + change + "," + GetParam().json + "]")));
    EXPECT_EQ(response.error(), GetParam().sentence);
    EXPECT_EQ(library.exchange().string(id, "name"), "before");
}

constexpr const char* invalidIdentifier = "Invalid record identifier.";
constexpr const char* unknownType = "Unknown iCloud record type.";

constexpr FailingRecord failingRecords[] = {
    {"Empty", "{}", invalidIdentifier},
    {"NoIdentifier", R"({"recordType":"Tag"})", invalidIdentifier},
    {"IdentifierANumber", R"({"recordType":"Tag","uuid":5})", invalidIdentifier},
    {"IdentifierNull", R"({"recordType":"Tag","uuid":null})", invalidIdentifier},
    {"IdentifierEmpty", R"({"recordType":"Tag","uuid":""})", invalidIdentifier},
    {"IdentifierWithoutHyphens",
     R"({"recordType":"Tag","uuid":"5eed0000000040008000000000000001"})",
     invalidIdentifier},
    {"IdentifierMissingAndTypeUnknown", R"({"recordType":"Book"})", invalidIdentifier},
    {"DeletionWithoutIdentifier", R"({"recordType":"Tag","deleted":true})", invalidIdentifier},
    {"DeletionWithABadIdentifier",
     R"({"recordType":"Tag","deleted":true,"uuid":"x"})",
     invalidIdentifier},
    {"DeletionWithoutIdentifierOfAnUnknownType",
     R"({"recordType":"Book","deleted":true})",
     invalidIdentifier},
    {"NoType", R"({"uuid":"5eed0000-0000-4000-8000-000000000002"})", unknownType},
    {"TypeANumber",
     R"({"recordType":1,"uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"TypeInLowerCase",
     R"({"recordType":"thing","uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"TypeWithABlank",
     R"({"recordType":"Thing ","uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"TypeWithANul",
     R"({"recordType":"Thing\u0000","uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"TypeUnknown",
     R"({"recordType":"Book","uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"DeletionWithoutType",
     R"({"deleted":true,"uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
    {"DeletionOfAnUnknownType",
     R"({"recordType":"Book","deleted":true,"uuid":"5eed0000-0000-4000-8000-000000000002"})",
     unknownType},
};
INSTANTIATE_TEST_SUITE_P(HostMerge,
                         RefusedRecord,
                         testing::ValuesIn(failingRecords),
                         caseName<FailingRecord>);

/// Two records that both fail, in the order in which they are sent.
struct FailingPair {
    const char* name;
    const char* first;
    const char* second;
    const char* sentence;
};

class FailingRecords : public testing::TestWithParam<FailingPair> {};

TEST_P(FailingRecords, AreMetPassByPass) {
    TestLibrary library;
    const std::string records = "[" + std::string(GetParam().first) + "," + GetParam().second + "]";
    EXPECT_EQ(library.exchange(RequestBuilder().with("records", JsonValue::parse(records))).error(),
              GetParam().sentence);
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

constexpr const char* badDeletion = R"({"recordType":"Tag","deleted":true,"uuid":"x"})";
constexpr const char* deletionOfABook =
    R"({"recordType":"Book","deleted":true,"uuid":"5eed0000-0000-4000-8000-000000000002"})";
constexpr const char* book =
    R"({"recordType":"Book","uuid":"5eed0000-0000-4000-8000-000000000002"})";
constexpr const char* pathOutside =
    R"({"recordType":"Thing","uuid":"5eed0000-0000-4000-8000-000000000003","data":"/etc/hostname"})";
constexpr const char* ownParent =
    R"({"recordType":"Project","uuid":"5eed0000-0000-4000-8000-000000000004",)"
    R"("parent":"5eed0000-0000-4000-8000-000000000004"})";

constexpr FailingPair failingPairs[] = {
    {"CreationBeforeDeletion", badDeletion, book, unknownType},
    {"CreationBeforeFields", pathOutside, book, unknownType},
    {"FieldsBeforeDeletion", badDeletion, pathOutside, "Invalid asset path."},
    {"DeletionBeforeCycle", ownParent, badDeletion, invalidIdentifier},
    {"FirstOfTwoDeletions", deletionOfABook, badDeletion, unknownType},
    {"FieldsBeforeCycle", ownParent, pathOutside, "Invalid asset path."},
};
INSTANTIATE_TEST_SUITE_P(HostMerge,
                         FailingRecords,
                         testing::ValuesIn(failingPairs),
                         caseName<FailingPair>);

TEST(HostMerge, StopsAtTheFirstOffendingRecord) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder()
                                                   .record(RecordBuilder("Book", identifier(1)))
                                                   .record(RecordBuilder::tag("no identifier")));
    EXPECT_EQ(response.error(), unknownType);
}

<<<<<<< HEAD
=======
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
INSTANTIATE_TEST_SUITE_P(HostMerge, TimeRule, testing::ValuesIn(timeCases), caseName<TimeCase>);

TEST(HostMerge, ComparesTheSecondRecordOfAStoredThingWithTheFirst) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(id)));
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(id).with("title", "a").with("updatedAt", 2000))
            .record(RecordBuilder::thing(id).with("title", "b").with("updatedAt", 1000)));
    EXPECT_EQ(response.string(id, "title"), "a");
}

TEST(HostMerge, UpdatesProjectsAndTagsWhateverTheirAge) {
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

TEST(HostMerge, ResetsEveryFieldOfAThingThatTheHostLeavesOut) {
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

TEST(HostMerge, ResetsTheFieldsOfAProjectAndATagThatTheHostLeavesOut) {
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

TEST(HostMerge, KeepsTheLinkOfAProjectUnlessTheHostSendsAText) {
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

TEST(HostMerge, AttachesKnownTagsAndDropsWhatNamesNone) {
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

TEST(HostMerge, AttachesNoTagThatIsOnlyAnotherRecordsIdentifier) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::project(identifier(2)))
                             .record(RecordBuilder::thing(id).withTags({identifier(2), id})));
    EXPECT_THAT(response.strings(id, "tags"), IsEmpty());
}

TEST(HostMerge, FilesAThingUnderAProjectThatStandsLaterInTheList) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::thing(id).with(
                                 "project", Uuid::parse(identifier(0xA))->upperCaseText()))
                             .record(RecordBuilder::project(identifier(0xA))));
    EXPECT_EQ(response.string(id, "project"), identifier(0xA));
}

TEST(HostMerge, FilesAThingNowhereWhenItsProjectIsUnknown) {
    for (const JsonValue& project :
         {JsonValue(identifier(9)), JsonValue("nonsense"), JsonValue(5), JsonValue(nullptr)}) {
        TestLibrary library;
        const Response response = library.exchange(
            RequestBuilder().record(RecordBuilder::thing(id).with("project", project)));
        EXPECT_FALSE(response.has(id, "project")) << project.text();
    }
}

TEST(HostMerge, MovesAThingToAnotherProject) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::project(identifier(2)))
                               .record(RecordBuilder::project(identifier(3)))
                               .record(RecordBuilder::thing(id).with("project", identifier(2))));
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(id).with("project", identifier(3))));
    EXPECT_EQ(response.string(id, "project"), identifier(3));
}

>>>>>>> review
}  // namespace
}  // namespace kelto
