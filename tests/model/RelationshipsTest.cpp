#include <cstddef>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FatalError.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const RelationshipDescription& relationship(const EntityDescription& entity,
                                            std::string_view name) {
    for (const auto& candidate : entity.relationships) {
        if (candidate.name == name) return candidate;
    }
    fatalError("the entity has no such relationship");
}

const RelationshipDescription& tagsOfThing() {
    return relationship(Thing::description(), "tags");
}
const RelationshipDescription& projectOfThing() {
    return relationship(Thing::description(), "project");
}
const RelationshipDescription& thingsOfTag() {
    return relationship(Tag::description(), "things");
}
const RelationshipDescription& thingsOfProject() {
    return relationship(Project::description(), "things");
}
const RelationshipDescription& parentOfProject() {
    return relationship(Project::description(), "parent");
}
const RelationshipDescription& childrenOfProject() {
    return relationship(Project::description(), "children");
}

// --- Thing and Project

TEST(ThingAndProject, AreBothToldOfTheProject) {
    ModelWorld world;
    Thing& thing = world.thing();
    Project& project = world.project("Work");
    thing.setProject(&project);
    EXPECT_EQ(thing.project(), &project);
    EXPECT_THAT(project.things().list(), ElementsAre(&thing));
    EXPECT_TRUE(thing.hasChangedRow());
    EXPECT_FALSE(hasChanges(project));
}

TEST(ThingAndProject, LeaveTheOldProject) {
    ModelWorld world;
    Thing& thing = world.thing();
    Project& before = world.project("Before");
    Project& after = world.project("After");
    thing.setProject(&before);
    thing.setProject(&after);
    EXPECT_THAT(before.things().list(), IsEmpty());
    EXPECT_THAT(after.things().list(), ElementsAre(&thing));
    thing.setProject(nullptr);
    EXPECT_THAT(after.things().list(), IsEmpty());
    EXPECT_EQ(thing.project(), nullptr);
}

TEST(ThingAndProject, ListThingsInTheOrderOfTheirCreation) {
    ModelWorld world;
    Thing& one = world.thing();
    Thing& two = world.thing();
    Thing& three = world.thing();
    Project& project = world.project("Work");
    for (Thing* thing : {&two, &three, &one}) thing->setProject(&project);
    EXPECT_THAT(project.things().list(), ElementsAre(&one, &two, &three));
    EXPECT_THAT(thingsOfProject().related(project), ElementsAre(&one, &two, &three));
    EXPECT_THAT(projectOfThing().related(one), ElementsAre(&project));
}

TEST(ThingAndProject, AreLinkedFromTheStoreWithoutAMark) {
    ModelWorld world;
    Thing& thing = world.thing();
    Project& project = world.project("Work");
    projectOfThing().linkLoaded(thing, project);
    EXPECT_EQ(thing.project(), &project);
    EXPECT_THAT(project.things().list(), ElementsAre(&thing));
    EXPECT_FALSE(hasChanges(thing) || hasChanges(project));
}

TEST(ThingAndProject, AreUnlinkedFromEitherSideWithAMarkOnTheThing) {
    for (const bool fromThing : {true, false}) {
        ModelWorld world;
        Thing& thing = world.thing();
        Project& project = world.project("Work");
        projectOfThing().linkLoaded(thing, project);
        if (fromThing) {
            projectOfThing().unlink(thing, project);
        } else {
            thingsOfProject().unlink(project, thing);
        }
        EXPECT_EQ(thing.project(), nullptr);
        EXPECT_THAT(project.things().list(), IsEmpty());
        EXPECT_THAT(projectOfThing().related(thing), IsEmpty());
        EXPECT_TRUE(thing.hasChangedRow());
        EXPECT_FALSE(hasChanges(project));
    }
}

TEST(ThingAndProject, StayAsTheyAreWhenAnotherProjectIsUnlinked) {
    ModelWorld world;
    Thing& thing = world.thing();
    Project& project = world.project("Work");
    Project& other = world.project("Other");
    projectOfThing().linkLoaded(thing, project);
    projectOfThing().unlink(thing, other);
    thingsOfProject().unlink(other, thing);
    EXPECT_EQ(thing.project(), &project);
    EXPECT_FALSE(hasChanges(thing));
}

// --- Thing and Tag

TEST(ThingAndTags, AreBothToldOfTheTags) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    thing.setTags({&blue, &red});
    EXPECT_THAT(thing.tags(), ElementsAre(&blue, &red));
    EXPECT_THAT(red.things().list(), ElementsAre(&thing));
    EXPECT_THAT(blue.things().list(), ElementsAre(&thing));
    EXPECT_TRUE(thing.hasChangedRow());
    EXPECT_FALSE(hasChanges(red) || hasChanges(blue));
}

TEST(ThingAndTags, LeaveTheTagsThatAreNoLongerListed) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& green = world.tag("green");
    Tag& blue = world.tag("blue");
    thing.setTags({&red, &green});
    thing.setTags({&green, &blue});
    EXPECT_THAT(red.things().list(), IsEmpty());
    EXPECT_THAT(green.things().list(), ElementsAre(&thing));
    EXPECT_THAT(blue.things().list(), ElementsAre(&thing));
}

TEST(ThingAndTags, AttachATagThatIsNamedTwiceOnceWhereItStandsFirst) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    thing.setTags({&red, &blue, &red, &blue, &blue});
    EXPECT_THAT(thing.tags(), ElementsAre(&red, &blue));
    EXPECT_THAT(red.things().list(), ElementsAre(&thing));
}

TEST(ThingAndTags, MarkNothingWhenTheListIsTheSame) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    tagsOfThing().linkLoaded(thing, red);
    tagsOfThing().linkLoaded(thing, blue);
    thing.setTags({&red, &blue});
    thing.setTags({&red, &blue, &red});
    thing.setTags(thing.tags());
    EXPECT_FALSE(hasChanges(thing));
}

TEST(ThingAndTags, MarkAListThatDiffersOnlyInItsOrder) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    tagsOfThing().linkLoaded(thing, red);
    tagsOfThing().linkLoaded(thing, blue);
    thing.setTags({&blue, &red});
    EXPECT_THAT(thing.tags(), ElementsAre(&blue, &red));
    EXPECT_THAT(red.things().list(), ElementsAre(&thing));
    EXPECT_TRUE(thing.hasChangedRow());
}

TEST(ThingAndTags, AreKeptInStepByAddTagAndRemoveTag) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    thing.addTag(red);
    EXPECT_THAT(red.things().list(), ElementsAre(&thing));
    thing.removeTag(red);
    EXPECT_THAT(red.things().list(), IsEmpty());
}

TEST(ThingAndTags, AreRelatedInListOrder) {
    ModelWorld world;
    Thing& first = world.thing();
    Thing& second = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    second.setTags({&blue, &red});
    first.setTags({&red});
    EXPECT_THAT(tagsOfThing().related(second), ElementsAre(&blue, &red));
    EXPECT_THAT(thingsOfTag().related(red), ElementsAre(&first, &second));
}

TEST(ThingAndTags, AreLinkedFromTheStoreInListOrderWithoutAMark) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    tagsOfThing().linkLoaded(thing, blue);
    tagsOfThing().linkLoaded(thing, red);
    EXPECT_THAT(thing.tags(), ElementsAre(&blue, &red));
    EXPECT_THAT(red.things().list(), ElementsAre(&thing));
    EXPECT_FALSE(hasChanges(thing) || hasChanges(red) || hasChanges(blue));
}

TEST(ThingAndTags, AreLinkedOnceWhenADamagedStoreNamesATagTwice) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    for (Tag* tag : {&red, &blue, &red}) tagsOfThing().linkLoaded(thing, *tag);
    EXPECT_THAT(thing.tags(), ElementsAre(&red, &blue));
}

TEST(ThingAndTags, AreUnlinkedFromEitherSideWithAMarkOnTheThing) {
    for (const bool fromThing : {true, false}) {
        ModelWorld world;
        Thing& thing = world.thing();
        Tag& red = world.tag("red");
        Tag& blue = world.tag("blue");
        tagsOfThing().linkLoaded(thing, red);
        tagsOfThing().linkLoaded(thing, blue);
        const Date updated = thing.updatedAt();
        if (fromThing) {
            tagsOfThing().unlink(thing, red);
        } else {
            thingsOfTag().unlink(red, thing);
        }
        EXPECT_THAT(thing.tags(), ElementsAre(&blue));
        EXPECT_THAT(red.things().list(), IsEmpty());
        EXPECT_TRUE(thing.hasChangedRow());
        EXPECT_FALSE(hasChanges(red));
        EXPECT_EQ(thing.updatedAt(), updated);
    }
}

TEST(ThingAndTags, StayAsTheyAreWhenAnotherTagIsUnlinked) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    tagsOfThing().linkLoaded(thing, red);
    tagsOfThing().unlink(thing, blue);
    thingsOfTag().unlink(blue, thing);
    EXPECT_THAT(thing.tags(), ElementsAre(&red));
    EXPECT_FALSE(hasChanges(thing));
}

// --- Project and Project

TEST(ParentAndChildren, AreBothToldOfTheParent) {
    ModelWorld world;
    Project& child = world.project("Child");
    Project& before = world.project("Before");
    Project& after = world.project("After");
    child.setParent(&before);
    EXPECT_THAT(before.children().list(), ElementsAre(&child));
    child.setParent(&after);
    EXPECT_THAT(before.children().list(), IsEmpty());
    EXPECT_THAT(after.children().list(), ElementsAre(&child));
    child.setParent(nullptr);
    EXPECT_THAT(after.children().list(), IsEmpty());
    EXPECT_TRUE(child.hasChangedRow());
    EXPECT_FALSE(hasChanges(before) || hasChanges(after));
}

TEST(ParentAndChildren, ListChildrenInTheOrderOfTheirCreation) {
    ModelWorld world;
    Project& one = world.project("z");
    Project& two = world.project("a");
    Project& root = world.project("Root");
    two.setParent(&root);
    one.setParent(&root);
    EXPECT_THAT(root.children().list(), ElementsAre(&one, &two));
    EXPECT_THAT(childrenOfProject().related(root), ElementsAre(&one, &two));
    EXPECT_THAT(parentOfProject().related(two), ElementsAre(&root));
    EXPECT_THAT(parentOfProject().related(root), IsEmpty());
}

TEST(ParentAndChildren, AreLinkedFromTheStoreWithoutAMark) {
    ModelWorld world;
    Project& root = world.project("Root");
    Project& child = world.project("Child");
    parentOfProject().linkLoaded(child, root);
    EXPECT_EQ(child.parent(), &root);
    EXPECT_THAT(root.children().list(), ElementsAre(&child));
    EXPECT_FALSE(hasChanges(root) || hasChanges(child));
}

TEST(ParentAndChildren, AreUnlinkedFromEitherSideWithAMarkOnTheChild) {
    for (const bool fromChild : {true, false}) {
        ModelWorld world;
        Project& root = world.project("Root");
        Project& child = world.project("Child", &root);
        if (fromChild) {
            parentOfProject().unlink(child, root);
        } else {
            childrenOfProject().unlink(root, child);
        }
        EXPECT_EQ(child.parent(), nullptr);
        EXPECT_THAT(root.children().list(), IsEmpty());
        EXPECT_TRUE(child.hasChangedRow());
        EXPECT_FALSE(hasChanges(root));
    }
}

TEST(ParentAndChildren, MayBeOneProjectInForeignData) {
    ModelWorld world;
    Project& project = world.project("Own parent");
    parentOfProject().linkLoaded(project, project);
    EXPECT_THAT(project.children().list(), ElementsAre(&project));
    childrenOfProject().unlink(project, project);
    EXPECT_THAT(project.children().list(), IsEmpty());
    EXPECT_EQ(project.parent(), nullptr);
}

}  // namespace
}  // namespace kelto
