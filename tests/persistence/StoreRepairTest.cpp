#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/StoreRepair.hpp"
#include "tests/persistence/DamagedStore.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class StoreRepairTest : public DamagedStore {
protected:
    StoreRepairTest() {
        fill();
        library.clock().current.secondsSince1970 = 1'800'000'000;
    }

    /// Mends what is found, after which nothing may be found, and the library has to open.
    RepairOutcome mend() {
        RepairOutcome outcome = repair();
        EXPECT_THAT(outcome.left, IsEmpty());
        EXPECT_THAT(kinds(inspect()), IsEmpty());
        library.reopen();
        ModelContext context(library.container());
        EXPECT_EQ(context.fetch<Thing>().size(), 2U);
        return outcome;
    }

    RepairOutcome repair() {
        const auto steps = planRepair(inspect());
        EXPECT_THAT(steps, testing::Not(IsEmpty()));
        SeededRandom random(11);
        return StoreRepair(
                   librarySchema(), library.files(), library.clock(), random, library.storePath())
            .run(steps);
    }

    std::string record() const {
        for (const std::string& name : namesIn(lostAndFound())) {
            if (name.starts_with("Repair ")) return readFile(lostAndFound(name));
        }
        return "";
    }
};

TEST_F(StoreRepairTest, PlansNothingForAHealthyStore) {
    EXPECT_THAT(planRepair(inspect()), IsEmpty());
}

TEST_F(StoreRepairTest, MakesMissingPartsAgain) {
    execute("DROP TRIGGER Thing_updated; DROP INDEX Thing_data");
    EXPECT_EQ(mend().done, 2U);
}

TEST_F(StoreRepairTest, CountsOnBehindTheLastRow) {
    execute("DELETE FROM sqlite_sequence WHERE name = 'Thing'");
    mend();
    EXPECT_EQ(library.number("SELECT seq FROM sqlite_sequence WHERE name = 'Thing'"), 2);
}

TEST_F(StoreRepairTest, BuildsADamagedIndexAnew) {
    // The index is told to be of another column for the time of a change that it then misses.
    const auto redefine = [&](const std::string& from, const std::string& to) {
        execute("PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = replace(sql, '" +
                from + "', '" + to + "') WHERE name = 'Thing_project'");
    };
    redefine(R"(("project"))", R"(("aspectRatio"))");
    execute("PRAGMA writable_schema = ON; UPDATE Thing SET project = 1 WHERE title = 'Plan'");
    redefine(R"(("aspectRatio"))", R"(("project"))");
    EXPECT_THAT(kinds(inspect()), testing::Contains("damagedDatabase"));
    mend();
}

TEST_F(StoreRepairTest, LetsRowsGoWithoutWhatIsNotThereAndWritesItDown) {
    execute(
        "UPDATE Thing SET project = 77 WHERE title = 'Film';"
        "UPDATE Project SET parent = 78 WHERE name = 'below'");
    EXPECT_EQ(mend().done, 2U);
    EXPECT_EQ(library.number("SELECT project IS NULL FROM Thing WHERE title = 'Film'"), 1);
    const JsonValue written = JsonValue::parse(record());
    EXPECT_EQ(written.array()->size(), 2U);
    EXPECT_THAT(record(), HasSubstr("\"was\": \"77\""));
}

TEST_F(StoreRepairTest, KeepsOfAListWhatIsThere) {
    execute("UPDATE Thing SET tags = '[77, 1, 1]' WHERE title = 'Plan'");
    mend();
    EXPECT_EQ(library.number("SELECT tags = '[1]' FROM Thing WHERE title = 'Plan'"), 1);
    execute("UPDATE Thing SET tags = 'red' WHERE title = 'Plan'");
    mend();
    EXPECT_EQ(library.number("SELECT tags = '[]' FROM Thing WHERE title = 'Plan'"), 1);
}

TEST_F(StoreRepairTest, OpensACycleAtItsYoungest) {
    execute("UPDATE Project SET parent = 2 WHERE id = 1");
    mend();
    EXPECT_EQ(library.number("SELECT parent FROM Project WHERE id = 1"), 2);
    EXPECT_EQ(library.number("SELECT parent IS NULL FROM Project WHERE id = 2"), 1);
}

TEST_F(StoreRepairTest, GivesTheYoungerOfTwoAnIdentifierOfItsOwn) {
    execute("UPDATE Thing SET uuid = (SELECT uuid FROM Thing WHERE title = 'Plan')");
    mend();
    EXPECT_EQ(library.number("SELECT count(DISTINCT uuid) FROM Thing"), 2);
}

TEST_F(StoreRepairTest, GivesAllButTheOldestOfManyAnIdentifierOfTheirOwn) {
    {
        ModelContext context(library.container());
        for (int i = 0; i < 50; ++i) context.insert<Thing>(ThingKind::note, "again");
        context.save();
    }
    execute("UPDATE Thing SET uuid = (SELECT uuid FROM Thing WHERE title = 'Plan')");
    execute("CREATE TABLE oldest AS SELECT min(id) AS id, uuid FROM Thing");
    EXPECT_EQ(repair().done, 51U);
    EXPECT_THAT(kinds(inspect()), IsEmpty());
    EXPECT_EQ(library.number("SELECT count(DISTINCT uuid) FROM Thing"), 52);
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing NATURAL JOIN oldest"), 1);
}

TEST_F(StoreRepairTest, PutsPlainValuesWhereNoneCanBeShown) {
    execute(
        "UPDATE Thing SET updatedAt = 1e300, aspectRatio = 9e999, note = CAST(x'41ff' AS TEXT) "
        "WHERE title = 'Plan'");
    EXPECT_EQ(mend().done, 3U);
    EXPECT_EQ(library.number("SELECT updatedAt FROM Thing WHERE title = 'Plan'"), 1'800'000'000);
    EXPECT_EQ(library.number("SELECT note = 'A' || char(65533) FROM Thing WHERE title = 'Plan'"),
              1);
    EXPECT_THAT(record(), HasSubstr("1.0e+300"));
}

TEST_F(StoreRepairTest, KeepsAnItemWithoutThePayloadThatIsLost) {
    std::filesystem::remove(largeFile());
    mend();
    EXPECT_EQ(library.number("SELECT data IS NULL FROM Thing WHERE title = 'Film'"), 1);
    EXPECT_EQ(library.number("SELECT count(*) FROM Payload"), 1);
    EXPECT_THAT(record(), HasSubstr("Thing"));
}

TEST_F(StoreRepairTest, KeepsDamagedBytes) {
    writeFile(largeFile(), "damaged");
    execute("UPDATE Payload SET bytes = CAST('also' AS BLOB) WHERE bytes NOT NULL");
    const RepairOutcome outcome = mend();
    EXPECT_EQ(outcome.kept.size(), 3U);
    EXPECT_EQ(readFile(lostAndFound(sha256(large).hex())), "damaged");
    EXPECT_EQ(readFile(lostAndFound(sha256(small).hex() + " damaged")), "also");
}

TEST_F(StoreRepairTest, BringsBackALostPayloadThatLiesInLostAndFound) {
    writeFile(lostAndFound(sha256(large).hex()), large);
    std::filesystem::remove(largeFile());
    mend();
    EXPECT_EQ(readFile(largeFile()), large);
    EXPECT_EQ(library.number("SELECT data NOT NULL FROM Thing WHERE title = 'Film'"), 1);
}

TEST_F(StoreRepairTest, TakesUpAPayloadFileWhoseRowIsLost) {
    execute("DELETE FROM Payload WHERE bytes IS NULL");
    mend();
    EXPECT_EQ(library.bytes({sha256(large)}), large);
}

TEST_F(StoreRepairTest, MovesWhatBelongsToNothing) {
    execute("UPDATE Thing SET data = NULL, fileSize = 0");
    writeFile(inExternalFolder(sha256("stray").hex()), "stray");
    writeFile(inExternalFolder(".kelto-0011.part"), "half");
    EXPECT_EQ(mend().done, 4U);
    EXPECT_THAT(namesIn(library.externalFolder()), IsEmpty());
    EXPECT_EQ(readFile(lostAndFound(sha256(small).hex())), small);
    EXPECT_EQ(readFile(lostAndFound(sha256(large).hex())), large);
    EXPECT_EQ(readFile(lostAndFound(sha256("stray").hex())), "stray");
    EXPECT_EQ(readFile(lostAndFound("kelto-0011.part")), "half");
}

TEST_F(StoreRepairTest, ReplacesNothingInLostAndFound) {
    writeFile(lostAndFound(sha256("stray").hex()), "something else");
    writeFile(inExternalFolder(sha256("stray").hex()), "stray");
    mend();
    EXPECT_EQ(readFile(lostAndFound(sha256("stray").hex())), "something else");
    EXPECT_EQ(readFile(lostAndFound(sha256("stray").hex() + " (2)")), "stray");
}

TEST_F(StoreRepairTest, ChangesNothingThatHasBecomeRightMeanwhile) {
    std::filesystem::remove(largeFile());
    const auto steps = planRepair(inspect());
    writeFile(largeFile(), large);
    SeededRandom random(11);
    const RepairOutcome outcome =
        StoreRepair(librarySchema(), library.files(), library.clock(), random, library.storePath())
            .run(steps);
    EXPECT_EQ(outcome.done, 0U);
    EXPECT_FALSE(exists(lostAndFound()));
    EXPECT_THAT(kinds(inspect()), IsEmpty());
}

TEST_F(StoreRepairTest, ChangesNothingWhenWhatItTakesAwayCannotBeWrittenDown) {
    execute("UPDATE Thing SET project = 77 WHERE title = 'Film'");
    library.files().fail({.operation = FileOperation::fileWrite, .errorNumber = ENOSPC});
    EXPECT_THROW(repair(), PlatformError);
    library.files().heal();
    EXPECT_THAT(kinds(inspect()), ElementsAre("missingTarget"));
}

TEST_F(StoreRepairTest, IsSeenByAProgramThatHasTheLibraryInMemory) {
    // Detached by another program, while this one has everything in memory.
    std::filesystem::remove(largeFile());
    (void)repair();
    ModelContext context(library.container());
    for (const Thing* thing : context.fetch<Thing>()) {
        EXPECT_EQ(thing->data().has_value(), thing->title() == "Plan");
    }
}

TEST_F(StoreRepairTest, WaitsForAnotherProgramOnlySoLong) {
    execute("UPDATE Thing SET project = 77 WHERE title = 'Film'");
    const auto steps = planRepair(inspect());
    SqliteDatabase other(library.storePath(), std::chrono::milliseconds(1000));
    other.run("BEGIN IMMEDIATE");
    SeededRandom random(11);
    StoreRepair repair(
        librarySchema(), library.files(), library.clock(), random, library.storePath());
    EXPECT_THAT([&] { (void)repair.run(steps); },
                testing::ThrowsMessage<PlatformError>(HasSubstr("in use by another program")));
}

}  // namespace
}  // namespace kelto
