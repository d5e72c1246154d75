#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/Thing.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

Payload payloadOf(std::uint8_t first) {
    Payload made;
    made.digest.bytes[0] = first;
    return made;
}

TEST(Thing, IsNewWithItsKindsAspectRatioCreatedAndUpdatedNow) {
    ModelWorld world;
    const Thing& thing = world.thing(ThingKind::video, "Holiday");
    EXPECT_EQ(thing.uuid(), NumberedRandom().uuid());
    EXPECT_EQ(thing.kindRaw(), "video");
    EXPECT_EQ(thing.title(), "Holiday");
    EXPECT_EQ(thing.aspectRatio(), 16.0 / 9.0);
    EXPECT_EQ(thing.createdAt(), Date{1});
    EXPECT_EQ(thing.updatedAt(), Date{2});
    EXPECT_FALSE(hasChanges(thing));
}

/// What neither the kind nor the title of a new item decides, nor the row of a stored one yet.
void expectDefaults(const Thing& thing) {
    EXPECT_EQ(thing.subtitle(), "");
    EXPECT_EQ(thing.content(), "");
    EXPECT_EQ(thing.note(), "");
    EXPECT_EQ(thing.urlString(), "");
    EXPECT_EQ(thing.fileName(), "");
    EXPECT_EQ(thing.typeIdentifier(), "");
    EXPECT_EQ(thing.fileSize(), 0);
    EXPECT_EQ(thing.data(), std::nullopt);
    EXPECT_EQ(thing.thumbnailData(), std::nullopt);
    EXPECT_EQ(thing.iconData(), std::nullopt);
    EXPECT_FALSE(thing.isStarred());
    EXPECT_EQ(thing.trashedAt(), std::nullopt);
    EXPECT_EQ(thing.metadataJSON(), "");
    EXPECT_TRUE(thing.tags().empty());
    EXPECT_EQ(thing.project(), nullptr);
}

TEST(Thing, IsNewWithTheDefaultsOfAllOtherFields) {
    ModelWorld world;
    expectDefaults(world.thing(ThingKind::video, "Holiday"));
}

TEST(Thing, IsBlankForARowWithoutAskingForTimeOrRandomness) {
    ModelWorld world;
    const Thing& thing = world.blank<Thing>(7);
    EXPECT_EQ(thing.row(), 7);
    EXPECT_EQ(thing.state(), ModelObject::State::detached);
    EXPECT_EQ(thing.uuid(), Uuid());
    EXPECT_EQ(thing.kindRaw(), "note");
    EXPECT_EQ(thing.title(), "");
    EXPECT_EQ(thing.aspectRatio(), 1.0);
    EXPECT_EQ(thing.createdAt(), Date());
    EXPECT_EQ(thing.updatedAt(), Date());
    expectDefaults(thing);
    EXPECT_EQ(world.clock->readings, 0);
    EXPECT_EQ(world.random->taken, 0);
    EXPECT_FALSE(hasChanges(thing));
}

TEST(Thing, TakesRowsInTheOrderOfCreation) {
    ModelWorld world;
    EXPECT_EQ(world.thing().row(), 1);
    world.tag("other entities count for themselves");
    EXPECT_EQ(world.thing().row(), 2);
}

TEST(Thing, ReadsAnUnknownRawKindAsNote) {
    ModelWorld world;
    Thing& thing = world.thing(ThingKind::image);
    for (const std::string_view raw : {"", "Image", "podcast", "image "}) {
        thing.setKindRaw(raw);
        EXPECT_EQ(thing.kind(), ThingKind::note) << raw;
        EXPECT_EQ(thing.kindRaw(), raw);
    }
}

TEST(Thing, StoresTheRawValueOfAKindAndTouchesNothingElse) {
    ModelWorld world;
    Thing& thing = world.thing(ThingKind::note);
    thing.setKind(ThingKind::github);
    EXPECT_EQ(thing.kindRaw(), "github");
    EXPECT_EQ(thing.aspectRatio(), 1.0);
    EXPECT_EQ(thing.updatedAt(), Date{2});
}

TEST(Thing, MarksNothingWhenAFieldIsGivenTheValueItHas) {
    ModelWorld world;
    Thing& thing = world.thing(ThingKind::video, "Holiday");
    thing.setUuid(Uuid(thing.uuid()));
    thing.setKindRaw("video");
    thing.setTitle("Holiday");
    thing.setSubtitle("");
    thing.setContent("");
    thing.setNote("");
    thing.setUrlString("");
    thing.setFileName("");
    thing.setTypeIdentifier("");
    thing.setFileSize(0);
    thing.setData(std::nullopt);
    thing.setThumbnailData(std::nullopt);
    thing.setIconData(std::nullopt);
    thing.setAspectRatio(16.0 / 9.0);
    thing.setIsStarred(false);
    thing.setTrashedAt(std::nullopt);
    thing.setCreatedAt({1});
    thing.setUpdatedAt({2});
    thing.setMetadataJSON("");
    thing.setTags({});
    thing.setProject(nullptr);
    EXPECT_FALSE(hasChanges(thing));
}

TEST(Thing, MarksEachChangedField) {
    using Change = void (*)(Thing&);
    const Change changes[] = {
        [](Thing& thing) { thing.setUuid(Uuid()); },
        [](Thing& thing) { thing.setKindRaw("quote"); },
        [](Thing& thing) { thing.setTitle("x"); },
        [](Thing& thing) { thing.setSubtitle("x"); },
        [](Thing& thing) { thing.setContent("x"); },
        [](Thing& thing) { thing.setNote("x"); },
        [](Thing& thing) { thing.setUrlString("x"); },
        [](Thing& thing) { thing.setFileName("x"); },
        [](Thing& thing) { thing.setTypeIdentifier("x"); },
        [](Thing& thing) { thing.setFileSize(-1); },
        [](Thing& thing) { thing.setData(payloadOf(1)); },
        [](Thing& thing) { thing.setThumbnailData(payloadOf(1)); },
        [](Thing& thing) { thing.setIconData(payloadOf(1)); },
        [](Thing& thing) { thing.setAspectRatio(2); },
        [](Thing& thing) { thing.setIsStarred(true); },
        [](Thing& thing) { thing.setTrashedAt(Date{0}); },
        [](Thing& thing) { thing.setCreatedAt({0}); },
        [](Thing& thing) { thing.setUpdatedAt({0}); },
        [](Thing& thing) { thing.setMetadataJSON("{}"); },
    };
    for (const Change change : changes) {
        ModelWorld world;
        Thing& thing = world.thing();
        change(thing);
        EXPECT_TRUE(thing.hasChangedRow());
    }
}

TEST(Thing, KeepsUpdatedAtWhenFieldsAreSet) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.setTitle("x");
    thing.setTrashedAt(Date{5});
    thing.setTags({&world.tag("red")});
    thing.setProject(&world.project("Work"));
    thing.setMetadata({.stars = 5});
    EXPECT_EQ(thing.updatedAt(), Date{2});
}

TEST(Thing, TellsPayloadsApartByTheirDigest) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.setThumbnailData(payloadOf(1));
    EXPECT_TRUE(thing.hasThumbnail());
    EXPECT_EQ(thing.thumbnailData(), payloadOf(1));
    thing.setThumbnailData(payloadOf(2));
    EXPECT_EQ(thing.thumbnailData(), payloadOf(2));
    thing.setThumbnailData(std::nullopt);
    EXPECT_FALSE(thing.hasThumbnail());
}

TEST(Thing, IsUpdatedNowByTouch) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.touch();
    EXPECT_EQ(thing.updatedAt(), Date{3});
    EXPECT_TRUE(thing.hasChangedRow());
}

TEST(Thing, GoesToTheTrashAndBack) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.moveToTrash();
    EXPECT_TRUE(thing.isTrashed());
    EXPECT_EQ(thing.trashedAt(), Date{3});
    EXPECT_EQ(thing.updatedAt(), Date{4});
    thing.restore();
    EXPECT_FALSE(thing.isTrashed());
    EXPECT_EQ(thing.updatedAt(), Date{5});
}

TEST(Thing, GetsATagOnceAndIsUpdatedTheFirstTimeOnly) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    thing.addTag(red);
    const Date updated = thing.updatedAt();
    EXPECT_GT(updated, thing.createdAt());
    thing.addTag(red);
    EXPECT_THAT(thing.tags(), ElementsAre(&red));
    EXPECT_EQ(thing.updatedAt(), updated);
}

TEST(Thing, GetsATagAtTheEndOfTheList) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& blue = world.tag("blue");
    thing.addTag(blue);
    thing.addTag(red);
    EXPECT_THAT(thing.tags(), ElementsAre(&blue, &red));
}

TEST(Thing, KeepsBothOfTwoTagsWithOneName) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& one = world.tag("red");
    Tag& two = world.tag("red");
    thing.addTag(one);
    thing.addTag(two);
    thing.removeTag(one);
    EXPECT_THAT(thing.tags(), ElementsAre(&two));
}

TEST(Thing, LosesATagAndIsUpdated) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& red = world.tag("red");
    Tag& green = world.tag("green");
    Tag& blue = world.tag("blue");
    thing.setTags({&red, &green, &blue});
    thing.removeTag(green);
    EXPECT_THAT(thing.tags(), ElementsAre(&red, &blue));
    EXPECT_GT(thing.updatedAt(), Date{2});
}

TEST(Thing, IsUpdatedEvenWhenItDoesNotCarryTheTag) {
    ModelWorld world;
    Thing& thing = world.thing();
    const Date updated = thing.updatedAt();
    thing.removeTag(world.tag("red"));
    EXPECT_GT(thing.updatedAt(), updated);
    EXPECT_TRUE(thing.tags().empty());
}

TEST(Thing, HasNoMetadataWhenItsTextIsEmpty) {
    ModelWorld world;
    EXPECT_EQ(world.thing().metadata(), ThingMetadata());
}

TEST(Thing, ReplacesTheWholeMetadataTextAndDropsUnknownMembers) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.setMetadataJSON(R"({"stars":5,"linkedRelativePath":"a/b"})");
    ThingMetadata metadata = thing.metadata();
    EXPECT_EQ(metadata, ThingMetadata{.stars = 5});
    metadata.forks = 1;
    thing.setMetadata(metadata);
    EXPECT_EQ(thing.metadataJSON(), R"({"stars":5,"forks":1})");
}

TEST(Thing, ReplacesABrokenMetadataTextByWhatWasReadFromIt) {
    ModelWorld world;
    Thing& thing = world.thing();
    thing.setMetadataJSON("{broken");
    thing.setMetadata(thing.metadata());
    EXPECT_EQ(thing.metadataJSON(), "{}");
}

}  // namespace
}  // namespace kelto
