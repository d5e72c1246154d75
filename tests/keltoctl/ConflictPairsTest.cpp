#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/keltoctl/ConflictPairs.hpp"

namespace kelto::ctl {
namespace {

class ConflictPairsTest : public testing::Test {
protected:
    ThingRecord& add(const std::string& id, const std::string& title, std::int64_t createdAt = 0) {
        ThingRecord thing;
        thing.id = id;
        thing.kind = "note";
        thing.title = title;
        thing.createdAt = createdAt;
        things.push_back(thing);
        return things.back();
    }
    /// The identifier of the copy's original; "" when none was found.
    [[nodiscard]] std::string originalOf(const std::string& copy) const {
        JsonElements records;
        for (const ThingRecord& thing : things) records.push_back(toRecord(thing));
        const JsonValue response(JsonMembers{{"records", std::move(records)}});
        const Snapshot snapshot = Snapshot::parse(response.text());
        const auto originals = originalsOfConflictCopies(snapshot);
        const auto found = originals.find(copy);
        return found == originals.end() ? "" : found->second->id;
    }

    std::vector<ThingRecord> things;
};

TEST_F(ConflictPairsTest, TellACopyByItsTitle) {
    EXPECT_TRUE(isConflictCopy(add("a", "Plan (iCloud conflict)")));
    EXPECT_FALSE(isConflictCopy(add("b", "Plan (iCloud conflict) 2")));
    EXPECT_EQ(withoutConflictMark("notes.final (iCloud conflict).md"), "notes.final.md");
    EXPECT_EQ(withoutConflictMark("README"), "README");
}

TEST_F(ConflictPairsTest, FindTheOriginalAmongThingsOfTheSameTime) {
    add("a", "Plan", 5);
    add("b", "Other", 5);
    add("c", "Plan (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("c"), "a");
}

TEST_F(ConflictPairsTest, FindAnOriginalThatWasRenamed) {
    add("a", "Plan of today", 5);
    add("b", "Other", 6);
    add("c", "Plan (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("c"), "a");
}

TEST_F(ConflictPairsTest, FindTheOriginalByTheNameOfItsFile) {
    add("a", "one", 1).fileName = "plan.md";
    add("b", "two", 2).fileName = "other.md";
    add("c", "three (iCloud conflict)", 3).fileName = "plan (iCloud conflict).md";
    EXPECT_EQ(originalOf("c"), "a");
}

TEST_F(ConflictPairsTest, GiveTwoCopiesTheSameOriginal) {
    add("a", "Plan", 5);
    add("b", "Plan (iCloud conflict)", 5);
    add("c", "Plan (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("b"), "a");
    EXPECT_EQ(originalOf("c"), "a");
}

TEST_F(ConflictPairsTest, TakeACopyForTheOriginalOfItsOwnCopy) {
    add("a", "Plan", 5);
    add("b", "Plan (iCloud conflict)", 5);
    add("c", "Plan (iCloud conflict) (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("b"), "a");
    EXPECT_EQ(originalOf("c"), "b");
}

TEST_F(ConflictPairsTest, NameNoOriginalThatHasGone) {
    add("a", "Plan", 5).kind = "quote";
    add("b", "Something else", 6);
    add("c", "Plan (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("c"), "");
}

TEST_F(ConflictPairsTest, NameNoOriginalThatIsOneOfSeveral) {
    add("a", "Plan", 5);
    add("b", "Plan", 5);
    add("c", "Plan (iCloud conflict)", 5);
    EXPECT_EQ(originalOf("c"), "");
}

}  // namespace
}  // namespace kelto::ctl
