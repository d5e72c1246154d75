#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/Tag.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

TEST(Tag, IsNewWithARandomUuidCreatedNow) {
    ModelWorld world;
    const Tag& tag = world.tag("red");
    EXPECT_EQ(tag.uuid(), NumberedRandom().uuid());
    EXPECT_EQ(tag.name(), "red");
    EXPECT_EQ(tag.createdAt(), Date{1});
    EXPECT_TRUE(tag.things().empty());
}

TEST(Tag, TakesTheNextRowOfItsEntity) {
    ModelWorld world;
    world.thing();
    EXPECT_EQ(world.tag("a").row(), 1);
    EXPECT_EQ(world.tag("b").row(), 2);
}

TEST(Tag, IsAnotherThanATagOfTheSameName) {
    ModelWorld world;
    const Tag& first = world.tag("red");
    const Tag& second = world.tag("red");
    EXPECT_NE(first.persistentIdentifier(), second.persistentIdentifier());
    EXPECT_NE(first.uuid(), second.uuid());
}

TEST(Tag, IsBlankForARowWithoutAskingForTimeOrRandomness) {
    ModelWorld world;
    const Tag& tag = world.blank<Tag>(7);
    EXPECT_EQ(tag.row(), 7);
    EXPECT_EQ(tag.uuid(), Uuid());
    EXPECT_EQ(tag.name(), "");
    EXPECT_EQ(tag.createdAt(), Date());
    EXPECT_EQ(world.clock->readings, 0);
    EXPECT_EQ(world.random->taken, 0);
    EXPECT_FALSE(hasChanges(tag));
}

TEST(Tag, ListsItsActiveThingsInStoredOrder) {
    ModelWorld world;
    Tag& tag = world.tag("red");
    Thing& first = world.thing();
    Thing& trashed = world.thing();
    Thing& last = world.thing();
    for (Thing* thing : {&last, &trashed, &first}) thing->addTag(tag);
    trashed.moveToTrash();
    EXPECT_THAT(tag.activeThings(), ElementsAre(&first, &last));
}

TEST(Tag, HasNoActiveThingsWhenAllAreInTheTrash) {
    ModelWorld world;
    Tag& tag = world.tag("red");
    Thing& thing = world.thing();
    thing.addTag(tag);
    thing.moveToTrash();
    EXPECT_TRUE(tag.activeThings().empty());
    EXPECT_EQ(tag.things().size(), 1U);
}

TEST(Tag, MarksAChangedFieldAndOnlyAChangedOne) {
    ModelWorld world;
    Tag& tag = world.tag("red");
    tag.setUuid(Uuid(tag.uuid()));
    tag.setName("red");
    tag.setCreatedAt(Date(tag.createdAt()));
    EXPECT_FALSE(hasChanges(tag));
    tag.setName("Red");
    EXPECT_TRUE(tag.hasChangedRow());
    EXPECT_EQ(tag.name(), "Red");
}

}  // namespace
}  // namespace kelto
