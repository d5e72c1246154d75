#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* cycleSentence = "The library contains a project cycle.";

const std::string a = identifier(0xA);
const std::string b = identifier(0xB);
const std::string c = identifier(0xC);

RecordBuilder project(const std::string& uuid, const std::string& parent = "") {
    RecordBuilder record = RecordBuilder::project(uuid);
    if (!parent.empty()) record.with("parent", parent);
    return record;
}

// --- The tree
// -------------------------------------------------------------------------------------

TEST(ProjectTree, MayNameAParentThatStandsLaterInTheList) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder().record(project(a, b)).record(project(b)));
    EXPECT_EQ(response.string(a, "parent"), b);
    EXPECT_FALSE(response.has(b, "parent"));
}

TEST(ProjectTree, HasNoParentWhereTheNamedOneIsUnknownOrNone) {
    for (const JsonValue& parent :
         {JsonValue(identifier(9)), JsonValue("nonsense"), JsonValue(5), JsonValue(nullptr)}) {
        TestLibrary library;
        const Response response = library.exchange(
            RequestBuilder().record(RecordBuilder::project(a).with("parent", parent)));
        EXPECT_FALSE(response.has(a, "parent")) << parent.text();
    }
}

TEST(ProjectTree, LosesAParentThatTheHostLeavesOut) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(project(a, b)).record(project(b)));
    EXPECT_FALSE(library.exchange(RequestBuilder().record(project(a))).has(a, "parent"));
}

TEST(ProjectTree, MayBeTurnedUpsideDownInOneRequest) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(project(a)).record(project(b, a)));
    const Response response =
        library.exchange(RequestBuilder().record(project(a, b)).record(project(b)));
    EXPECT_EQ(response.string(a, "parent"), b);
    EXPECT_FALSE(response.has(b, "parent"));
}

TEST(ProjectTree, MayBeDeeperThanAnyStack) {
    TestLibrary library;
    constexpr unsigned depth = 20'000;
    RequestBuilder request;
    JsonElements records;
    for (unsigned i = 1; i <= depth; ++i) {
        records.push_back(project(identifier(i), identifier(i + 1)).json());
    }
    const Response response = library.exchange(request.with("records", records));
    EXPECT_EQ(response.string(identifier(depth - 1), "parent"), identifier(depth));
    EXPECT_FALSE(response.has(identifier(depth), "parent"));
}

// --- Cycles
// ---------------------------------------------------------------------------------------

TEST(ProjectCycle, OfAProjectThatIsItsOwnParentFailsTheExchange) {
    TestLibrary library;
    EXPECT_EQ(library.exchange(RequestBuilder().record(project(b)).record(project(a, a))).error(),
              cycleSentence);
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(ProjectCycle, OfThreeNewProjectsFailsTheExchange) {
    TestLibrary library;
    EXPECT_EQ(
        library
            .exchange(
                RequestBuilder().record(project(a, b)).record(project(b, c)).record(project(c, a)))
            .error(),
        cycleSentence);
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(ProjectCycle, ThatOneUpdateClosesFailsTheExchange) {
    TestLibrary library;
    const Response before =
        library.exchange(RequestBuilder().record(project(a)).record(project(b, a)));
    EXPECT_EQ(library.exchange(RequestBuilder().record(project(a, b))).error(), cycleSentence);
    EXPECT_EQ(library.exchange().records(), before.records());
}

TEST(ProjectCycle, BelowAnInnocentProjectIsFound) {
    TestLibrary library;
    EXPECT_EQ(
        library
            .exchange(
                RequestBuilder().record(project(a, b)).record(project(b, c)).record(project(c, b)))
            .error(),
        cycleSentence);
}

TEST(ProjectCycle, ThatTheSameRequestsDeletionOpensIsNone) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder()
                                                   .record(project(a, b))
                                                   .record(project(b, a))
                                                   .record(RecordBuilder::deletion("Project", a)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(b));
    EXPECT_FALSE(response.has(b, "parent"));
}

TEST(ProjectCycle, InTheStoreFailsARequestWithoutRecords) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(project(a)).record(project(b, a)));
    library.changeStore(
        R"(UPDATE "Project" SET "parent" = (SELECT max("id") FROM "Project") WHERE "parent" IS NULL)");
    EXPECT_EQ(library.exchange().error(), cycleSentence);
}

// --- Deletion
// -------------------------------------------------------------------------------------

TEST(DeletedProject, LeavesItsChildrenAtTheTop) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder().record(project(a)).record(project(b, a)).record(project(c, b)));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Project", a)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(b, c));
    EXPECT_FALSE(response.has(b, "parent"));
    EXPECT_EQ(response.string(c, "parent"), b) << "grandchildren stay where they are";
    library.restart();
    EXPECT_EQ(library.exchange().records(), response.records());
}

TEST(DeletedProject, LeavesItsChildrenAtTheTopAndNotUnderItsParent) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder().record(project(a)).record(project(b, a)).record(project(c, b)));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Project", b)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(a, c));
    EXPECT_FALSE(response.has(c, "parent"));
}

TEST(DeletedProject, MayGoTogetherWithItsChild) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder().record(project(a)).record(project(b, a)).record(project(c, b)));
    const Response response = library.exchange(RequestBuilder()
                                                   .record(RecordBuilder::deletion("Project", a))
                                                   .record(RecordBuilder::deletion("Project", b)));
    EXPECT_THAT(response.identifiers("Project"), ElementsAre(c));
    EXPECT_FALSE(response.has(c, "parent"));
}

TEST(DeletedProject, LeavesItsThingsWithoutAProject) {
    TestLibrary library;
    const std::string thing = identifier(1);
    (void)library.exchange(
        RequestBuilder()
            .record(project(a))
            .record(RecordBuilder::thing(thing).with("project", a).with("title", "kept")));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Project", a)));
    EXPECT_EQ(response.string(thing, "title"), "kept");
    EXPECT_FALSE(response.has(thing, "project"));
    library.restart();
    EXPECT_EQ(library.exchange().records(), response.records());
}

TEST(DeletedProject, StillTakesAThingThatTheSameRequestFilesUnderIt) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(project(a)));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Project", a))
                             .record(RecordBuilder::thing(identifier(1)).with("project", a)));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(identifier(1)));
    EXPECT_FALSE(response.has(identifier(1), "project"));
}

TEST(DeletedTag, GoesFromEveryThingThatCarriedIt) {
    TestLibrary library;
    const std::string thing = identifier(1);
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::tag(a))
                               .record(RecordBuilder::tag(b))
                               .record(RecordBuilder::thing(thing).withTags({a, b})));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::deletion("Tag", a)));
    EXPECT_THAT(response.strings(thing, "tags"), ElementsAre(b));
    library.restart();
    EXPECT_EQ(library.exchange().records(), response.records());
}

TEST(DeletedTag, IsAttachedFirstAndDeletedThenWhenOneRequestDoesBoth) {
    TestLibrary library;
    const std::string thing = identifier(1);
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(a)));
    const Response response =
        library.exchange(RequestBuilder()
                             .record(RecordBuilder::deletion("Tag", a))
                             .record(RecordBuilder::tag(b))
                             .record(RecordBuilder::thing(thing).withTags({a, b})));
    EXPECT_THAT(response.identifiers("Tag"), ElementsAre(b));
    EXPECT_THAT(response.strings(thing, "tags"), ElementsAre(b));
}

// --- Stored identifiers that stand twice
// ----------------------------------------------------------

class DuplicateIdentifiers : public testing::TestWithParam<const char*> {};

TEST_P(DuplicateIdentifiers, PauseTheSyncUntilTheyAreGone) {
    const std::string type = GetParam();
    TestLibrary library;
    const Response before = library.exchange(RequestBuilder()
                                                 .record(RecordBuilder(type, a))
                                                 .record(RecordBuilder(type, b))
                                                 .record(RecordBuilder(type, c)));
    const std::string last = "(SELECT max(\"id\") FROM \"" + type + "\")";
    library.changeStore("UPDATE \"" + type + "\" SET \"uuid\" = (SELECT \"uuid\" FROM \"" + type +
                        "\" WHERE \"id\" = (SELECT min(\"id\") FROM \"" + type +
                        "\")) WHERE \"id\" = " + last);
    EXPECT_EQ(library.exchange(RequestBuilder().record(RecordBuilder(type, identifier(1)))).error(),
              "The iCloud library contains duplicate identifiers. Sync paused to preserve your "
              "data.");
    library.changeStore(
        "UPDATE \"" + type +
        "\" SET \"uuid\" = x'5eed000000004000800000000000000c' WHERE \"id\" = " + last);
    EXPECT_EQ(library.exchange().records(), before.records());
}
INSTANTIATE_TEST_SUITE_P(HostMerge,
                         DuplicateIdentifiers,
                         testing::Values("Project", "Tag", "Thing"),
                         [](const auto& type) { return std::string(type.param); });

}  // namespace
}  // namespace kelto
