#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

class ModelContextTest : public testing::Test {
protected:
    /// Stores one thing of that title.
    Uuid addThing(std::string_view title) {
        ModelContext context(library.container());
        const Uuid id = context.insert<Thing>(ThingKind::note, title).uuid();
        context.save();
        return id;
    }

    static std::vector<std::string> titles(ModelContext& context) {
        std::vector<std::string> titles;
        for (const Thing* thing : context.fetch<Thing>()) titles.push_back(thing->title());
        return titles;
    }

    LibraryStore library;
};

TEST_F(ModelContextTest, StoresWhatWasInsertedByOneSave) {
    addThing("kept");
    library.reopen();
    ModelContext context(library.container());
    EXPECT_THAT(titles(context), testing::ElementsAre("kept"));
}

TEST_F(ModelContextTest, ForgetsWhatWasInsertedWithoutASave) {
    {
        ModelContext context(library.container());
        context.insert<Thing>(ThingKind::note, "lost");
    }
    ModelContext context(library.container());
    EXPECT_THAT(titles(context), testing::IsEmpty());
}

TEST_F(ModelContextTest, ForgetsANewTitleOnRollback) {
    addThing("before");
    ModelContext context(library.container());
    context.fetch<Thing>().front()->setTitle("after");
    context.rollback();
    EXPECT_THAT(titles(context), testing::ElementsAre("before"));
}

TEST_F(ModelContextTest, KeepsObjectsBetweenUnitsOfWork) {
    addThing("one");
    ModelContext first(library.container());
    const Thing* thing = first.fetch<Thing>().front();
    first.save();
    ModelContext second(library.container());
    EXPECT_EQ(second.fetch<Thing>().front(), thing);
}

TEST_F(ModelContextTest, ReadsAgainWhenAnotherProgramHasWritten) {
    addThing("one");
    {
        const auto other = library.anotherContainer();
        ModelContext context(*other);
        context.fetch<Thing>().front()->setTitle("changed by another");
        context.save();
    }
    ModelContext context(library.container());
    EXPECT_THAT(titles(context), testing::ElementsAre("changed by another"));
}

TEST_F(ModelContextTest, ListsObjectsInTheOrderOfTheirCreation) {
    addThing("first");
    addThing("second");
    {
        ModelContext context(library.container());
        context.fetch<Thing>().front()->setTitle("first, changed");
        context.save();
    }
    addThing("third");
    library.reopen();
    ModelContext context(library.container());
    EXPECT_THAT(titles(context), testing::ElementsAre("first, changed", "second", "third"));
}

TEST_F(ModelContextTest, NeverGivesARowNumberTwice) {
    addThing("gone");
    std::int64_t row = 0;
    {
        ModelContext context(library.container());
        Thing& thing = *context.fetch<Thing>().front();
        row = thing.row();
        context.remove(thing);
        context.save();
    }
    library.reopen();
    ModelContext context(library.container());
    EXPECT_GT(context.insert<Thing>(ThingKind::note, "new").row(), row);
}

TEST_F(ModelContextTest, HasNoChangesAfterEqualAssignments) {
    addThing("same");
    ModelContext context(library.container());
    Thing& thing = *context.fetch<Thing>().front();
    thing.setTitle("same");
    thing.setTags({});
    thing.setProject(nullptr);
    EXPECT_FALSE(context.hasChanges());
}

TEST_F(ModelContextTest, WritesNothingForAnObjectInsertedAndDeletedAgain) {
    ModelContext context(library.container());
    context.remove(context.insert<Thing>(ThingKind::note, "short-lived"));
    EXPECT_THAT(titles(context), testing::IsEmpty());
    context.save();
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing"), 0);
}

TEST_F(ModelContextTest, DeletesTheSubtreeOfAProjectAndKeepsItsThings) {
    {
        ModelContext context(library.container());
        Project& top = context.insert<Project>("top", nullptr);
        Project& middle = context.insert<Project>("middle", &top);
        Project& leaf = context.insert<Project>("leaf", &middle);
        context.insert<Project>("other", nullptr);
        context.insert<Thing>(ThingKind::note, "in the leaf").setProject(&leaf);
        context.save();
    }
    {
        ModelContext context(library.container());
        context.remove(*context.fetch<Project>().front());
        context.save();
    }
    library.reopen();
    ModelContext context(library.container());
    const auto projects = context.fetch<Project>();
    ASSERT_EQ(projects.size(), 1U);
    EXPECT_EQ(projects.front()->name(), "other");
    ASSERT_THAT(titles(context), testing::ElementsAre("in the leaf"));
    EXPECT_EQ(context.fetch<Thing>().front()->project(), nullptr);
}

TEST_F(ModelContextTest, DeletesAProjectTreeDeeperThanTheStackIsLong) {
    constexpr int depth = 100000;
    ModelContext context(library.container());
    Project* parent = nullptr;
    Project* top = nullptr;
    for (int i = 0; i < depth; ++i) {
        parent = &context.insert<Project>("level", parent);
        if (top == nullptr) top = parent;
    }
    context.remove(*top);
    EXPECT_THAT(context.fetch<Project>(), testing::IsEmpty());
}

TEST_F(ModelContextTest, TakesADeletedTagOffEveryThing) {
    {
        ModelContext context(library.container());
        Tag& first = context.insert<Tag>("first");
        Tag& second = context.insert<Tag>("second");
        context.insert<Thing>(ThingKind::note, "a").setTags({&first, &second});
        context.insert<Thing>(ThingKind::note, "b").setTags({&first});
        context.save();
    }
    {
        ModelContext context(library.container());
        context.remove(*context.fetch<Tag>().front());
        context.save();
    }
    library.reopen();
    ModelContext context(library.container());
    const auto things = context.fetch<Thing>();
    EXPECT_THAT(things[0]->tags(), testing::ElementsAre(context.fetch<Tag>().front()));
    EXPECT_THAT(things[1]->tags(), testing::IsEmpty());
}

TEST_F(ModelContextTest, TakesADeletedThingOutOfItsProjectAndTags) {
    ModelContext context(library.container());
    Project& project = context.insert<Project>("project", nullptr);
    Tag& tag = context.insert<Tag>("tag");
    Thing& thing = context.insert<Thing>(ThingKind::note, "thing");
    thing.setProject(&project);
    thing.setTags({&tag});
    context.remove(thing);
    EXPECT_TRUE(project.things().empty());
    EXPECT_TRUE(tag.things().empty());
}

TEST_F(ModelContextTest, RemembersRelationsAndTheOrderOfTags) {
    {
        ModelContext context(library.container());
        Tag& first = context.insert<Tag>("first");
        Tag& second = context.insert<Tag>("second");
        Project& parent = context.insert<Project>("parent", nullptr);
        Project& child = context.insert<Project>("child", &parent);
        Thing& thing = context.insert<Thing>(ThingKind::note, "thing");
        thing.setTags({&second, &first});
        thing.setProject(&child);
        context.save();
    }
    library.reopen();
    ModelContext context(library.container());
    const auto tags = context.fetch<Tag>();
    const auto projects = context.fetch<Project>();
    Thing& thing = *context.fetch<Thing>().front();
    EXPECT_THAT(thing.tags(), testing::ElementsAre(tags[1], tags[0]));
    EXPECT_EQ(thing.project(), projects[1]);
    EXPECT_EQ(projects[1]->parent(), projects[0]);
    EXPECT_THAT(projects[0]->children().list(), testing::ElementsAre(projects[1]));
    EXPECT_THAT(projects[1]->things().list(), testing::ElementsAre(&thing));
    EXPECT_THAT(tags[0]->things().list(), testing::ElementsAre(&thing));
}

TEST_F(ModelContextTest, RefusesASecondWriterInsideAUnitOfWork) {
    const auto other = library.anotherContainer();
    ModelContext mine(library.container());
    mine.insert<Thing>(ThingKind::note, "mine");
    ModelContext theirs(*other);
    EXPECT_THROW(theirs.insert<Thing>(ThingKind::note, "theirs"), PlatformError);
    mine.save();
    theirs.insert<Thing>(ThingKind::note, "theirs");
    theirs.save();
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing"), 2);
}

}  // namespace
}  // namespace kelto
