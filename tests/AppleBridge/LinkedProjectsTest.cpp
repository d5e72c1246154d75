#include <memory>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/LinkedProjects.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

class LinkedProjectsTest : public testing::Test {
protected:
    ObjectEnvironment environment{std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1)};
    Project top{environment, "top", nullptr};
    Project middle{environment, "middle", &top};
    Project leaf{environment, "leaf", &middle};
    Thing thing{environment, ThingKind::note, "thing"};
    LinkedProjects linked;
};

TEST_F(LinkedProjectsTest, HoldsNothingWithoutAProject) {
    EXPECT_FALSE(linked.isLinked(thing));
}

TEST_F(LinkedProjectsTest, HoldsWhatLiesBelowALinkOwner) {
    top.setLinkedFolderOwner("owner");
    thing.setProject(&leaf);
    EXPECT_TRUE(linked.isLinked(thing));
    thing.setProject(&top);
    EXPECT_TRUE(linked.isLinked(thing));
}

TEST_F(LinkedProjectsTest, HoldsNothingAboveALinkOwner) {
    leaf.setLinkedFolderOwner("owner");
    thing.setProject(&leaf);
    EXPECT_TRUE(linked.isLinked(thing));
    thing.setProject(&middle);
    EXPECT_FALSE(linked.isLinked(thing));
}

TEST_F(LinkedProjectsTest, EndsOnACycle) {
    top.setParent(&leaf);
    thing.setProject(&middle);
    EXPECT_FALSE(linked.isLinked(thing));
}

TEST_F(LinkedProjectsTest, FindsTheOwnerInACycle) {
    top.setParent(&leaf);
    top.setLinkedFolderOwner("owner");
    thing.setProject(&middle);
    EXPECT_TRUE(linked.isLinked(thing));
    thing.setProject(&leaf);
    EXPECT_TRUE(linked.isLinked(thing));
}

TEST_F(LinkedProjectsTest, FindsOutAnewWhatItWasToldToForget) {
    thing.setProject(&leaf);
    EXPECT_FALSE(linked.isLinked(thing));
    top.setLinkedFolderOwner("owner");
    linked.forget();
    EXPECT_TRUE(linked.isLinked(thing));
}

}  // namespace
}  // namespace kelto
