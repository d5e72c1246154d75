#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/AppleBridge/StoredFingerprints.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

/// A thing with something in every field, and others to relate it to.
struct World {
    ObjectEnvironment environment{std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1)};
    Project project{environment, "project", nullptr};
    Project otherProject{environment, "other", nullptr};
    Tag tag{environment, "tag"};
    Tag otherTag{environment, "other"};
    Thing thing{environment, ThingKind::image, "title"};

    World() {
        thing.setProject(&project);
        thing.setTags({&tag});
    }
};

struct Change {
    const char* name;
    void (*make)(World&);
};

class RememberedFingerprints : public testing::TestWithParam<Change> {};

TEST_P(RememberedFingerprints, AreForgottenWhenTheFieldChanges) {
    World world;
    const Digest before = fingerprintsOf(world.thing).record;
    GetParam().make(world);
    EXPECT_EQ(world.thing.derivedDigests(), nullptr);
    EXPECT_NE(fingerprintsOf(world.thing).record, before);
}

TEST_P(RememberedFingerprints, HaveAnotherBasisWhenTheFieldChanges) {
    World world;
    const DerivedDigests digests = fingerprintsOf(world.thing);
    EXPECT_EQ(digests.basis, fingerprintBasis(world.thing, digests));
    GetParam().make(world);
    EXPECT_NE(digests.basis, fingerprintBasis(world.thing, digests));
}

constexpr Payload somePayload{};

constexpr Change changes[] = {
    {"Kind", [](World& world) { world.thing.setKind(ThingKind::quote); }},
    {"Title", [](World& world) { world.thing.setTitle("new"); }},
    {"Subtitle", [](World& world) { world.thing.setSubtitle("new"); }},
    {"Content", [](World& world) { world.thing.setContent("new"); }},
    {"Note", [](World& world) { world.thing.setNote("new"); }},
    {"UrlString", [](World& world) { world.thing.setUrlString("new"); }},
    {"FileName", [](World& world) { world.thing.setFileName("new"); }},
    {"TypeIdentifier", [](World& world) { world.thing.setTypeIdentifier("new"); }},
    {"FileSize", [](World& world) { world.thing.setFileSize(5); }},
    {"Data", [](World& world) { world.thing.setData(somePayload); }},
    {"Thumbnail", [](World& world) { world.thing.setThumbnailData(somePayload); }},
    {"Icon", [](World& world) { world.thing.setIconData(somePayload); }},
    {"AspectRatio", [](World& world) { world.thing.setAspectRatio(2); }},
    {"Star", [](World& world) { world.thing.setIsStarred(true); }},
    {"Trashed", [](World& world) { world.thing.setTrashedAt(Date{5}); }},
    {"Created", [](World& world) { world.thing.setCreatedAt(Date{5}); }},
    {"Updated", [](World& world) { world.thing.setUpdatedAt(Date{5}); }},
    {"Metadata", [](World& world) { world.thing.setMetadataJSON("{}"); }},
    {"Uuid", [](World& world) { world.thing.setUuid(Uuid{}); }},
    {"Project", [](World& world) { world.thing.setProject(&world.otherProject); }},
    {"NoProject", [](World& world) { world.thing.setProject(nullptr); }},
    {"Tags", [](World& world) { world.thing.setTags({&world.otherTag}); }},
    {"RemovedTag", [](World& world) { world.thing.removeTag(world.tag); }},
};
INSTANTIATE_TEST_SUITE_P(Thing,
                         RememberedFingerprints,
                         testing::ValuesIn(changes),
                         caseName<Change>);

TEST(RememberedFingerprint, StayWhenAnEqualValueIsAssigned) {
    World world;
    (void)fingerprintsOf(world.thing);
    world.thing.setTitle("title");
    world.thing.setTags({&world.tag});
    world.thing.setProject(&world.project);
    EXPECT_NE(world.thing.derivedDigests(), nullptr);
}

TEST(RememberedFingerprint, AreThoseOfTheFileAndOfTheRecord) {
    World world;
    const std::string file = fileFingerprint(FileFacts::of(world.thing));
    const DerivedDigests digests = fingerprintsOf(world.thing);
    EXPECT_EQ(digests.file.hex(), file);
    EXPECT_EQ(digests.record, sha256(canonicalThingRecord(world.thing, digests.file)));
    EXPECT_EQ(fileFingerprint(world.thing), file);
}

}  // namespace
}  // namespace kelto
