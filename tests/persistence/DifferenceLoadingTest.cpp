#include <functional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/SqliteChangeLog.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "tests/persistence/GraphText.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A library with a project in another, two tags and three things, and a second program that has it
/// open. What the second one does between two units of work of ours is what these tests are about.
class DifferenceLoadingTest : public testing::Test {
protected:
    DifferenceLoadingTest() {
        ModelContext context(library.container());
        top = &context.insert<Project>("top", nullptr);
        below = &context.insert<Project>("below", top);
        paper = &context.insert<Tag>("paper");
        wood = &context.insert<Tag>("wood");
        first = &context.insert<Thing>(ThingKind::note, "first");
        second = &context.insert<Thing>(ThingKind::note, "second");
        third = &context.insert<Thing>(ThingKind::note, "third");
        first->setTags({paper, wood});
        first->setProject(below);
        second->setTags({wood});
        context.save();
        otherProgram([](ModelContext&) {});
        look();
    }

    /// What `change` does to the other program's objects is saved there.
    void otherProgram(const std::function<void(ModelContext&)>& change) {
        ModelContext context(*other);
        (void)context.fetch<Thing>();
        change(context);
        context.save();
    }

    void execute(const std::string& sql) {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
    }

    /// An empty unit of work of ours; how many objects were loaded for it.
    std::uint64_t look() {
        const WorkCounters before = workSoFar();
        ModelContext context(library.container());
        (void)context.fetch<Thing>();
        EXPECT_FALSE(context.hasChanges());
        return (workSoFar() - before)[Work::objectsLoaded];
    }

    /// Whether we hold what a program that opens the store now reads.
    void expectTheStoredGraph() {
        const auto ours = [this] {
            ModelContext context(library.container());
            return linesOf(context);
        }();
        const auto fresh = library.anotherContainer();
        ModelContext context(*fresh);
        EXPECT_EQ(ours, linesOf(context));
    }

    [[nodiscard]] std::uint64_t populationNumber() {
        return library.container().populationNumber();
    }

    static constexpr std::uint64_t allObjects = 7;

    LibraryStore library;
    std::unique_ptr<ModelContainer> other = library.anotherContainer();
    Project* top = nullptr;
    Project* below = nullptr;
    Tag* paper = nullptr;
    Tag* wood = nullptr;
    Thing* first = nullptr;
    Thing* second = nullptr;
    Thing* third = nullptr;
};

TEST_F(DifferenceLoadingTest, RefreshesAChangedObjectInItsPlace) {
    const std::uint64_t change = second->changeNumber();
    const std::uint64_t population = populationNumber();
    second->remember({});
    otherProgram([](ModelContext& context) { context.fetch<Thing>()[1]->setTitle("changed"); });
    EXPECT_EQ(look(), 1U);
    EXPECT_EQ(second->title(), "changed");
    EXPECT_GT(second->changeNumber(), change);
    EXPECT_EQ(second->derivedDigests(), nullptr);
    EXPECT_FALSE(second->hasChangedRow());
    EXPECT_EQ(second->state(), ModelObject::State::stored);
    EXPECT_EQ(populationNumber(), population);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, LeavesTheOthersAlone) {
    const std::uint64_t change = first->changeNumber();
    first->remember({});
    otherProgram([](ModelContext& context) { context.fetch<Thing>()[1]->setTitle("changed"); });
    look();
    EXPECT_EQ(first->changeNumber(), change);
    EXPECT_NE(first->derivedDigests(), nullptr);
}

TEST_F(DifferenceLoadingTest, ReadsARowOnceHoweverOftenItWasChanged) {
    for (const char* title : {"a", "b", "c"}) {
        otherProgram(
            [title](ModelContext& context) { context.fetch<Thing>()[1]->setTitle(title); });
    }
    EXPECT_EQ(look(), 1U);
    EXPECT_EQ(second->title(), "c");
}

TEST_F(DifferenceLoadingTest, FollowsTheTagsOfAThingAndTheirOrder) {
    otherProgram([](ModelContext& context) {
        const auto things = context.fetch<Thing>();
        const auto tags = context.fetch<Tag>();
        things[0]->setTags({tags[1], tags[0]});
        things[1]->setTags({});
        things[2]->setTags({tags[0]});
    });
    EXPECT_EQ(look(), 3U);
    EXPECT_THAT(first->tags(), ElementsAre(wood, paper));
    EXPECT_THAT(second->tags(), IsEmpty());
    EXPECT_THAT(paper->things().list(), ElementsAre(first, third));
    EXPECT_THAT(wood->things().list(), ElementsAre(first));
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, FollowsAThingToAnotherProject) {
    otherProgram([](ModelContext& context) {
        context.fetch<Thing>()[0]->setProject(context.fetch<Project>()[0]);
        context.fetch<Thing>()[1]->setProject(context.fetch<Project>()[0]);
    });
    EXPECT_EQ(look(), 2U);
    EXPECT_THAT(top->things().list(), ElementsAre(first, second));
    EXPECT_TRUE(below->things().empty());
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, FollowsAProjectToAnotherParent) {
    otherProgram([](ModelContext& context) {
        context.fetch<Project>()[1]->setParent(nullptr);
        context.fetch<Project>()[0]->setParent(context.fetch<Project>()[1]);
    });
    EXPECT_EQ(look(), 2U);
    EXPECT_EQ(below->parent(), nullptr);
    EXPECT_THAT(below->children().list(), ElementsAre(top));
    EXPECT_TRUE(top->children().empty());
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, TakesNewObjectsInBehindTheOthers) {
    const std::uint64_t population = populationNumber();
    otherProgram([](ModelContext& context) {
        Project& inner = context.insert<Project>("inner", context.fetch<Project>()[1]);
        Tag& steel = context.insert<Tag>("steel");
        Thing& fourth = context.insert<Thing>(ThingKind::note, "fourth");
        fourth.setTags({&steel, context.fetch<Tag>()[0]});
        fourth.setProject(&inner);
    });
    EXPECT_EQ(look(), 3U);
    EXPECT_NE(populationNumber(), population);
    ModelContext context(library.container());
    const auto things = context.fetch<Thing>();
    ASSERT_EQ(things.size(), 4U);
    EXPECT_EQ(things[0], first);
    EXPECT_EQ(things[3]->title(), "fourth");
    EXPECT_THAT(things[3]->tags(), ElementsAre(context.fetch<Tag>()[2], paper));
    context.rollback();
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, GivesItsOwnNewObjectsTheRowsBehindThose) {
    otherProgram([](ModelContext& context) { context.insert<Thing>(ThingKind::note, "fourth"); });
    ModelContext context(library.container());
    EXPECT_EQ(context.insert<Thing>(ThingKind::note, "fifth").row(), 5);
    context.save();
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, SeesANewRowWhoseNumberItHadTakenForAnObjectThatWasNeverStored) {
    {
        ModelContext context(library.container());
        context.remove(context.insert<Thing>(ThingKind::note, "never stored"));
        context.save();
    }
    otherProgram([](ModelContext& context) { context.insert<Thing>(ThingKind::note, "fourth"); });
    EXPECT_EQ(look(), 1U);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, DropsADeletedThing) {
    const std::uint64_t population = populationNumber();
    otherProgram([](ModelContext& context) { context.remove(*context.fetch<Thing>()[0]); });
    EXPECT_EQ(look(), 0U);
    EXPECT_NE(populationNumber(), population);
    EXPECT_TRUE(below->things().empty());
    EXPECT_TRUE(paper->things().empty());
    EXPECT_THAT(wood->things().list(), ElementsAre(second));
    ModelContext context(library.container());
    EXPECT_THAT(context.fetch<Thing>(), ElementsAre(second, third));
}

TEST_F(DifferenceLoadingTest, DropsADeletedTag) {
    otherProgram([](ModelContext& context) { context.remove(*context.fetch<Tag>()[1]); });
    EXPECT_EQ(look(), 2U);  // the things that had it
    EXPECT_THAT(first->tags(), ElementsAre(paper));
    EXPECT_THAT(second->tags(), IsEmpty());
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, DropsADeletedTreeOfProjects) {
    otherProgram([](ModelContext& context) { context.remove(*context.fetch<Project>()[0]); });
    EXPECT_EQ(look(), 1U);  // the thing that was in it
    EXPECT_EQ(first->project(), nullptr);
    ModelContext context(library.container());
    EXPECT_THAT(context.fetch<Project>(), IsEmpty());
}

TEST_F(DifferenceLoadingTest, KnowsNothingOfARowThatCameAndWent) {
    otherProgram([](ModelContext& context) { context.insert<Thing>(ThingKind::note, "short"); });
    otherProgram([](ModelContext& context) { context.remove(*context.fetch<Thing>()[3]); });
    const std::uint64_t population = populationNumber();
    EXPECT_EQ(look(), 0U);
    EXPECT_EQ(populationNumber(), population);
}

TEST_F(DifferenceLoadingTest, DoesNotReadItsOwnChangesAgain) {
    {
        ModelContext context(library.container());
        first->setTitle("ours");
        context.remove(*context.fetch<Thing>()[2]);
        context.insert<Thing>(ThingKind::note, "ours too");
        context.save();
    }
    otherProgram([](ModelContext& context) { context.fetch<Thing>()[1]->setTitle("theirs"); });
    EXPECT_EQ(look(), 1U);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, SeesAChangeThatItSawBeforeARollbackOnlyOnce) {
    otherProgram([](ModelContext& context) { context.fetch<Thing>()[1]->setTitle("changed"); });
    EXPECT_EQ(look(), 1U);
    EXPECT_EQ(look(), 0U);
    EXPECT_EQ(second->title(), "changed");
}

TEST_F(DifferenceLoadingTest, ReadsNothingWhenOnlyOtherTablesHaveChanged) {
    const std::uint64_t population = populationNumber();
    execute("CREATE TABLE somebodys (a); INSERT INTO somebodys VALUES (1)");
    EXPECT_EQ(look(), 0U);
    EXPECT_EQ(populationNumber(), population);
    EXPECT_EQ(first->title(), "first");
}

TEST_F(DifferenceLoadingTest, SeesWhatIsDoneByPlainSql) {
    execute(
        "UPDATE Thing SET title = 'by hand', tags = '[2]' WHERE id = 3;"
        "DELETE FROM Thing WHERE id = 2;"
        "INSERT INTO Tag (uuid, name, createdAt) VALUES (zeroblob(16), 'glue', 0)");
    EXPECT_EQ(look(), 2U);
    EXPECT_EQ(third->title(), "by hand");
    EXPECT_THAT(wood->things().list(), ElementsAre(first, third));
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, SeesAllRowsOfATableDeletedByPlainSql) {
    execute("DELETE FROM Thing");
    EXPECT_EQ(look(), 0U);
    EXPECT_TRUE(wood->things().empty());
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, SeesARowThatWasGivenAnotherNumber) {
    execute("UPDATE Thing SET id = 40 WHERE id = 2");
    EXPECT_EQ(look(), 1U);
    expectTheStoredGraph();
    execute("UPDATE Thing SET id = 2 WHERE id = 40");  // between older ones: everything is read
    EXPECT_EQ(look(), allObjects);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, ReadsEverythingWhenItsPlaceInTheListIsPruned) {
    execute("UPDATE Thing SET title = 'x'");
    EXPECT_EQ(look(), 3U);
    execute("UPDATE Thing SET title = 'y' WHERE id < 3");
    execute("DELETE FROM Change WHERE id <= 3");
    EXPECT_EQ(look(), 2U) << "what has been read may go";
    execute("UPDATE Thing SET title = 'z' WHERE id < 3");
    execute("DELETE FROM Change WHERE id <= 6");
    EXPECT_EQ(look(), allObjects);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, ReadsEverythingWhenTheListHasAGap) {
    execute("UPDATE Thing SET title = 'x'");
    execute("DELETE FROM Change WHERE id = (SELECT max(id) - 1 FROM Change)");
    EXPECT_EQ(look(), allObjects);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, ReadsEverythingWhenTheListBeginsAnew) {
    execute("UPDATE Thing SET title = 'x'");
    EXPECT_EQ(look(), 3U);
    execute("DELETE FROM Change; DELETE FROM sqlite_sequence WHERE name = 'Change'");
    execute("UPDATE Thing SET title = 'x' WHERE id = 1");
    EXPECT_EQ(look(), allObjects);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, ReadsEverythingWhenTheListNamesAnUnknownTable) {
    execute("INSERT INTO Change (entity, row) VALUES ('Nobody', 1)");
    EXPECT_EQ(look(), allObjects);
}

TEST_F(DifferenceLoadingTest, ReadsEverythingWhenAnIdentifierHasChanged) {
    first->remember({});
    execute("UPDATE Tag SET uuid = zeroblob(16) WHERE id = 1");
    const std::uint64_t population = populationNumber();
    EXPECT_EQ(look(), 1U + allObjects);
    EXPECT_NE(populationNumber(), population);
    expectTheStoredGraph();
}

std::string entries(std::int64_t count) {
    return "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(count) + ") INSERT INTO Change (entity, row) SELECT 'Thing', 1 FROM n";
}

TEST_F(DifferenceLoadingTest, ReadsALongListAndEverythingInsteadOfAVeryLongOne) {
    execute(entries(SqliteChangeLog::mostEntries));
    EXPECT_EQ(look(), 1U);
    execute(entries(SqliteChangeLog::mostEntries + 1));
    EXPECT_EQ(look(), allObjects);
}

TEST_F(DifferenceLoadingTest, KeepsTheListShort) {
    execute(entries(5 * SqliteChangeLog::mostEntries));
    otherProgram([](ModelContext& context) { context.fetch<Thing>()[1]->setTitle("changed"); });
    EXPECT_EQ(library.number("SELECT count(*) FROM Change"), SqliteChangeLog::mostEntries / 2);
    EXPECT_EQ(library.number("SELECT count(*) FROM Change WHERE id = (SELECT seq FROM "
                             "sqlite_sequence WHERE name = 'Change') AND row = 2"),
              1);
}

TEST_F(DifferenceLoadingTest, NotesNothingForNewRows) {
    const auto noted = [this] { return library.number("SELECT count(*) FROM Change"); };
    const std::int64_t before = noted();
    otherProgram([](ModelContext& context) { context.insert<Thing>(ThingKind::note, "fourth"); });
    EXPECT_EQ(noted(), before);
}

TEST_F(DifferenceLoadingTest, ReportsADamagedStoreAsLoadingEverythingDoes) {
    execute("UPDATE Thing SET tags = '[77]' WHERE id = 1");
    for (int i = 0; i < 2; ++i) {
        ModelContext context(library.container());
        EXPECT_THAT(
            [&] { (void)context.fetch<Thing>(); },
            testing::ThrowsMessage<PlatformError>(HasSubstr("refers to one that is not there")));
    }
    execute("UPDATE Thing SET tags = '[]' WHERE id = 1");
    EXPECT_EQ(look(), allObjects);
    expectTheStoredGraph();
}

TEST_F(DifferenceLoadingTest, RefusesAStoreInWhichATagWasDeletedAndNotTakenOffItsThings) {
    execute("DELETE FROM Tag WHERE id = 2");
    ModelContext context(library.container());
    EXPECT_THAT(
        [&] { (void)context.fetch<Thing>(); },
        testing::ThrowsMessage<PlatformError>(HasSubstr("refers to one that is not there")));
}

}  // namespace
}  // namespace kelto
