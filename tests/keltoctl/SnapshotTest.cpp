#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {
namespace {

const Snapshot library = Snapshot::parse(R"({"version":1,"status":"ready","lastSync":5,"records":[
    {"recordType":"Project","uuid":"aa10","name":"Photos"},
    {"recordType":"Project","uuid":"aa20","name":"Winter","parent":"aa10"},
    {"recordType":"Project","uuid":"ab30","name":"Winter"},
    {"recordType":"Tag","uuid":"cc10","name":"Été"},
    {"recordType":"Thing","uuid":"aa11","title":"Snow","project":"aa20","tags":["cc10","gone"]},
    {"recordType":"Unheard of","uuid":"aa12"}]})");

TEST(Snapshot, FindsAnItemByTheBeginningOfItsIdentifier) {
    EXPECT_EQ(library.item("CC").tag, library.findTag("cc10"));
    EXPECT_EQ(library.item("aa11").thing, library.findThing("aa11"));
}

TEST(Snapshot, RefusesABeginningThatIsNotUnique) {
    EXPECT_THROW((void)library.item("aa"), Refusal);
    EXPECT_THROW((void)library.item(""), Refusal);
    EXPECT_THROW((void)library.item("zz"), Refusal);
}

TEST(Snapshot, LooksOnlyAmongThingsForAThing) {
    EXPECT_EQ(library.thing("aa").title, "Snow");
    EXPECT_THROW((void)library.thing("cc"), Refusal);
}

TEST(Snapshot, TakesWhatIsNamedTwiceOnce) {
    EXPECT_EQ(library.eachItem({"cc", "aa11", "CC10"}).size(), 2U);
    EXPECT_EQ(library.eachThing({"aa", "aa11"}).size(), 1U);
    EXPECT_THROW((void)library.eachItem({"cc", "zz"}), Refusal);
}

TEST(Snapshot, FindsAProjectByNameOrIdentifier) {
    EXPECT_EQ(library.project("photos").id, "aa10");
    EXPECT_EQ(library.project("ab").id, "ab30");
}

TEST(Snapshot, RefusesANameThatTwoProjectsHave) {
    EXPECT_THROW((void)library.project("Winter"), Refusal);
}

TEST(Snapshot, FindsATagWhateverItsLetterCaseAndForm) {
    EXPECT_EQ(library.findTagNamed("e\u0301TE\u0301"), library.findTag("cc10"));
    EXPECT_EQ(library.findTagNamed("hiver"), nullptr);
}

TEST(Snapshot, KnowsWhereAProjectLies) {
    EXPECT_EQ(library.projectPath("aa20"), "Photos / Winter");
    EXPECT_TRUE(library.liesIn("aa20", "aa10"));
    EXPECT_FALSE(library.liesIn("aa10", "aa20"));
}

TEST(Snapshot, LeavesOutTagsItDoesNotKnow) {
    EXPECT_THAT(library.tagNames(*library.findThing("aa11")), testing::ElementsAre("Été"));
}

TEST(Snapshot, EndsAWalkAlongProjectsInACircle) {
    const Snapshot circle = Snapshot::parse(R"({"records":[
        {"recordType":"Project","uuid":"a","name":"a","parent":"b"},
        {"recordType":"Project","uuid":"b","name":"b","parent":"a"}]})");
    EXPECT_FALSE(circle.liesIn("a", "c"));
    EXPECT_FALSE(circle.projectPath("a").empty());
}

TEST(Snapshot, IsRefusedWithTheSentenceOfAnErrorEnvelope) {
    try {
        (void)Snapshot::parse(R"({"version":1,"error":"Invalid bridge request."})");
        FAIL() << "an error was taken for an answer";
    } catch (const Refusal& refusal) {
        EXPECT_STREQ(refusal.what(), "Invalid bridge request.");
    }
}

TEST(ThingRecord, TravelsBackWithEveryField) {
    const JsonValue record = JsonValue::parse(
        R"({"recordType":"Thing","uuid":"a","createdAt":1,"updatedAt":2,"trashedAt":3,)"
        R"("kind":"image","title":"t","subtitle":"s","content":"c","note":"n",)"
        R"("urlString":"u","fileName":"f","typeIdentifier":"i","fileSize":9007199254740993,)"
        R"("aspectRatio":1.6,"isStarred":true,"metadataJson":"{}","tags":["x"],"project":"p",)"
        R"("data":"\/d","thumbnail":"\/t","icon":"\/i"})");
    EXPECT_EQ(toRecord(thingFrom(record)).text(), record.text());
}

TEST(ThingRecord, ReadsWhatIsMissingOrMistypedAsItsDefault) {
    const ThingRecord thing = thingFrom(JsonValue::parse(R"({"title":1,"tags":"x","data":null})"));
    EXPECT_EQ(thing, ThingRecord());
}

}  // namespace
}  // namespace kelto::ctl
