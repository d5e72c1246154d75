#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/Project.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

/// Projects named 1, 2, … of which each is the parent of the next.
std::vector<Project*> chain(ModelWorld& world, int length) {
    std::vector<Project*> projects;
    for (int number = 1; number <= length; ++number) {
        Project* const parent = projects.empty() ? nullptr : projects.back();
        projects.push_back(&world.project(std::to_string(number), parent));
    }
    return projects;
}

std::string joinedNumbers(int first, int last) {
    std::string text = std::to_string(first);
    for (int number = first + 1; number <= last; ++number) text += " / " + std::to_string(number);
    return text;
}

TEST(Project, IsNewWithARandomUuidCreatedNow) {
    ModelWorld world;
    const Project& project = world.project("Work");
    EXPECT_EQ(project.uuid(), NumberedRandom().uuid());
    EXPECT_EQ(project.name(), "Work");
    EXPECT_EQ(project.sortOrder(), 0);
    EXPECT_EQ(project.linkedFolderOwner(), "");
    EXPECT_EQ(project.createdAt(), Date{1});
    EXPECT_EQ(project.parent(), nullptr);
    EXPECT_TRUE(project.children().empty());
    EXPECT_TRUE(project.things().empty());
}

TEST(Project, IsNewBelowItsParent) {
    ModelWorld world;
    Project& parent = world.project("Root");
    Project& child = world.project("Leaf", &parent);
    EXPECT_EQ(child.parent(), &parent);
    EXPECT_THAT(parent.children().list(), ElementsAre(&child));
    EXPECT_FALSE(hasChanges(parent));
}

TEST(Project, IsBlankForARowWithoutAskingForTimeOrRandomness) {
    ModelWorld world;
    const Project& project = world.blank<Project>(7);
    EXPECT_EQ(project.row(), 7);
    EXPECT_EQ(project.uuid(), Uuid());
    EXPECT_EQ(project.createdAt(), Date());
    EXPECT_EQ(world.clock->readings, 0);
    EXPECT_EQ(world.random->taken, 0);
    EXPECT_FALSE(hasChanges(project));
}

TEST(Project, SortsItsChildrenByOrderThenByName) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& b2 = world.project("b", &root);
    Project& b1 = world.project("B", &root);
    Project& a1 = world.project("a", &root);
    b2.setSortOrder(2);
    b1.setSortOrder(1);
    a1.setSortOrder(1);
    EXPECT_THAT(root.sortedChildren(), ElementsAre(&a1, &b1, &b2));
}

TEST(Project, KeepsTheStoredOrderOfChildrenWhoseNamesDifferOnlyInLetterCase) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& lower = world.project("work", &root);
    Project& upper = world.project("WORK", &root);
    Project& mixed = world.project("Work", &root);
    EXPECT_THAT(root.sortedChildren(), ElementsAre(&lower, &upper, &mixed));
}

TEST(Project, SortsNegativeAndExtremeOrders) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& high = world.project("a", &root);
    Project& low = world.project("b", &root);
    high.setSortOrder(std::numeric_limits<std::int64_t>::max());
    low.setSortOrder(std::numeric_limits<std::int64_t>::min());
    EXPECT_THAT(root.sortedChildren(), ElementsAre(&low, &high));
}

TEST(Project, HasNoOutlineChildrenAsALeaf) {
    ModelWorld world;
    Project& leaf = world.project("Leaf");
    EXPECT_EQ(leaf.outlineChildren(), std::nullopt);
    EXPECT_THAT(leaf.selfAndDescendants(), ElementsAre(&leaf));
}

TEST(Project, HasItsSortedChildrenAsOutlineChildren) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& second = world.project("2", &root);
    Project& first = world.project("1", &root);
    EXPECT_THAT(root.outlineChildren(), testing::Optional(ElementsAre(&first, &second)));
}

TEST(Project, KnowsItsPathAndDepth) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& mid = world.project("Mid", &root);
    Project& leaf = world.project("Leaf", &mid);
    EXPECT_EQ(leaf.path(), "Root / Mid / Leaf");
    EXPECT_EQ(leaf.depth(), 2);
    EXPECT_EQ(root.path(), "Root");
    EXPECT_EQ(root.depth(), 0);
}

TEST(Project, KeepsEmptyNamesInItsPath) {
    ModelWorld world;
    Project& root = world.project("");
    EXPECT_EQ(root.path(), "");
    EXPECT_EQ(world.project("", &root).path(), " / ");
}

TEST(Project, IsADescendantOfItsAncestorsOnly) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& mid = world.project("Mid", &root);
    Project& leaf = world.project("Leaf", &mid);
    EXPECT_TRUE(leaf.isDescendantOf(root));
    EXPECT_TRUE(leaf.isDescendantOf(mid));
    EXPECT_FALSE(root.isDescendantOf(leaf));
    EXPECT_FALSE(leaf.isDescendantOf(leaf));
}

TEST(Project, StopsWalkingUpAfter64Steps) {
    ModelWorld world;
    const auto projects = chain(world, 70);
    const Project& deepest = *projects.back();
    EXPECT_EQ(deepest.path(), joinedNumbers(7, 70));
    EXPECT_EQ(deepest.depth(), 64);
    EXPECT_FALSE(deepest.isDescendantOf(*projects.front()));
}

TEST(Project, WalksUpExactly64Steps) {
    ModelWorld world;
    const auto projects = chain(world, 66);
    const Project& deepest = *projects.back();
    EXPECT_TRUE(deepest.isDescendantOf(*projects[1]));   // the 64th ancestor
    EXPECT_FALSE(deepest.isDescendantOf(*projects[0]));  // the 65th
    EXPECT_EQ(projects[64]->depth(), 64);
    EXPECT_EQ(projects[63]->depth(), 63);
    EXPECT_EQ(projects[63]->path(), joinedNumbers(1, 64));
}

TEST(Project, WalksUpACycleToTheLimitOnly) {
    ModelWorld world;
    Project& one = world.project("1");
    Project& two = world.project("2", &one);
    Project& elsewhere = world.project("3");
    one.setParent(&two);
    EXPECT_EQ(one.depth(), 64);
    EXPECT_EQ(one.path().size(), 64 + 63 * 3U);
    EXPECT_TRUE(one.isDescendantOf(one));
    EXPECT_FALSE(one.isDescendantOf(elsewhere));
}

TEST(Project, ListsItselfAndItsDescendantsDepthFirst) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& b = world.project("b", &root);
    Project& a = world.project("a", &root);
    Project& b1 = world.project("b1", &b);
    Project& a2 = world.project("a2", &a);
    Project& a1 = world.project("a1", &a);
    world.project("outside");
    EXPECT_THAT(root.selfAndDescendants(), ElementsAre(&root, &a, &a1, &a2, &b, &b1));
}

TEST(Project, ListsATreeThatIsDeeperThanTheStack) {
    ModelWorld world;
    const auto projects = chain(world, 200'000);
    EXPECT_EQ(projects.front()->selfAndDescendants(), projects);
}

TEST(Project, ListsItsActiveThingsInStoredOrder) {
    ModelWorld world;
    Project& project = world.project("Work");
    Thing& first = world.thing(ThingKind::note, "z");
    Thing& trashed = world.thing(ThingKind::note, "y");
    Thing& last = world.thing(ThingKind::note, "x");
    for (Thing* thing : {&last, &trashed, &first}) thing->setProject(&project);
    trashed.moveToTrash();
    EXPECT_THAT(project.activeThings(), ElementsAre(&first, &last));
}

TEST(Project, HasNoActiveThingsWhenAllAreInTheTrash) {
    ModelWorld world;
    Project& project = world.project("Work");
    Thing& thing = world.thing();
    thing.setProject(&project);
    thing.moveToTrash();
    EXPECT_TRUE(project.activeThings().empty());
}

TEST(Project, MarksNothingWhenAFieldIsGivenTheValueItHas) {
    ModelWorld world;
    Project& parent = world.project("Root");
    Project& project = world.project("Work", &parent);
    project.setUuid(Uuid(project.uuid()));
    project.setName("Work");
    project.setSortOrder(0);
    project.setLinkedFolderOwner("");
    project.setCreatedAt(Date(project.createdAt()));
    project.setParent(&parent);
    EXPECT_FALSE(hasChanges(project));
}

TEST(Project, MarksEachChangedField) {
    using Change = void (*)(Project&);
    const Change changes[] = {
        [](Project& project) { project.setUuid(Uuid()); },
        [](Project& project) { project.setName("work"); },
        [](Project& project) { project.setSortOrder(-1); },
        [](Project& project) { project.setLinkedFolderOwner("owner"); },
        [](Project& project) { project.setCreatedAt({-1}); },
        [](Project& project) { project.setParent(nullptr); },
    };
    for (const Change change : changes) {
        ModelWorld world;
        Project& project = world.project("Work", &world.project("Root"));
        change(project);
        EXPECT_TRUE(project.hasChangedRow());
    }
}

}  // namespace
}  // namespace kelto
