#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// --- Creation
// -------------------------------------------------------------------------------------

TEST(HostMerge, OfNoRecordsChangesNothing) {
    TestLibrary library;
    const Response before = library.exchange(RequestBuilder()
                                                 .record(RecordBuilder::thing(firstId))
                                                 .record(RecordBuilder::project(identifier(2)))
                                                 .record(RecordBuilder::tag(identifier(3))));
    EXPECT_EQ(library.exchange().records(), before.records());
}

TEST(HostMerge, CreatesAThingOfBareDefaults) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    for (const char* key : {"kind",
                            "title",
                            "subtitle",
                            "content",
                            "note",
                            "urlString",
                            "fileName",
                            "typeIdentifier",
                            "metadataJson"}) {
        EXPECT_EQ(response.string(firstId, key), "") << key;
    }
    EXPECT_EQ(response.integer(firstId, "fileSize"), 0);
    EXPECT_EQ(response.number(firstId, "aspectRatio"), 1.0);
    EXPECT_FALSE(response.boolean(firstId, "isStarred"));
    EXPECT_EQ(response.integer(firstId, "createdAt"), 0);
    EXPECT_EQ(response.integer(firstId, "updatedAt"), 0);
}

TEST(HostMerge, CreatesAProjectAndATagOfBareDefaults) {
    TestLibrary library;
    const std::string tag = identifier(2);
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::project(firstId)).record(RecordBuilder::tag(tag)));
    EXPECT_EQ(response.string(firstId, "name"), "");
    EXPECT_EQ(response.integer(firstId, "sortOrder"), 0);
    EXPECT_EQ(response.string(firstId, "linkedFolderOwner"), "");
    EXPECT_EQ(response.integer(firstId, "createdAt"), 0);
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
                                                   .record(RecordBuilder::project(firstId))
                                                   .record(RecordBuilder::tag(firstId))
                                                   .record(RecordBuilder::thing(firstId)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(firstId));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(firstId));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(firstId));
}

TEST(HostMerge, TakesTheSecondOfTwoRecordsOfANewThing) {
    TestLibrary library;
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::thing(firstId).with("title", "a").with("updatedAt", 2000))
            .record(RecordBuilder::thing(firstId).with("title", "b").with("updatedAt", 1000)));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(firstId));
    EXPECT_EQ(response.string(firstId, "title"), "b");
}

TEST(HostMerge, SurvivesARestart) {
    TestLibrary library;
    const Response before =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::project(identifier(2)).with("name", "Home"))
                             .record(RecordBuilder::tag(identifier(3)).with("name", "Red"))
                             .record(RecordBuilder::thing(firstId)
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
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "a")));
    library.changeStore(R"(UPDATE "Tag" SET "name" = 'b')");
    EXPECT_EQ(library.exchange().string(firstId, "name"), "b");
}

// --- Live or deleted
// ------------------------------------------------------------------------------

class LiveRecord : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(LiveRecord, IsWhateverIsNotDeletedTrue) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::tag(firstId).with("deleted", JsonValue::parse(GetParam().second))));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(firstId));
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
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(firstId)));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Thing", firstId))
                             .record(RecordBuilder::deletion("Project", identifier(7)))
                             .record(RecordBuilder::deletion("Tag", identifier(8))));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(firstId));
}

TEST(HostMerge, IgnoresAllOtherKeysOfADeletion) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", firstId)
                                                     .with("data", "/etc/passwd")
                                                     .with("updatedAt", -1)
                                                     .with("title", 5)));
    EXPECT_THAT(response.records(), IsEmpty());
}

TEST(HostMerge, DeletesARecordThatTheSameRequestAlsoUpdates) {
    for (const bool deletionFirst : {false, true}) {
        TestLibrary library;
        RequestBuilder request;
        if (deletionFirst) request.record(RecordBuilder::deletion("Thing", firstId));
        request.record(RecordBuilder::thing(firstId).with("title", "a"));
        if (!deletionFirst) request.record(RecordBuilder::deletion("Thing", firstId));
        EXPECT_THAT(library.exchange(request).records(), IsEmpty());
    }
}

TEST(HostMerge, DeletesTwiceWithoutComplaint) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(firstId)));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Tag", firstId))
                             .record(RecordBuilder::deletion("Tag", firstId)));
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
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::tag(firstId).with("name", "before")));
    const std::string change = RecordBuilder::tag(firstId).with("name", "after").json().text();
    const Response response = library.exchange(RequestBuilder().with(
        "records", JsonValue::parse("[" + change + "," + GetParam().json + "]")));
    EXPECT_EQ(response.error(), GetParam().sentence);
    EXPECT_EQ(library.exchange().string(firstId, "name"), "before");
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

}  // namespace
}  // namespace kelto
