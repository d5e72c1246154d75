#include <memory>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/Fingerprints.hpp"
#include "kelto/AppleBridge/RecordList.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/Json.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

/// So many things without a store.
class Things {
public:
    explicit Things(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            owned_.push_back(std::make_unique<Thing>(
                environment_, ThingKind::note, "title “" + std::to_string(i) + "”"));
            things.push_back(owned_.back().get());
        }
    }
    std::vector<Thing*> things;

private:
    ObjectEnvironment environment_{std::make_shared<FakeClock>(),
                                   std::make_shared<SeededRandom>(1)};
    std::vector<std::unique_ptr<Thing>> owned_;
};

class RecordLists : public testing::TestWithParam<std::size_t> {};

/// Few are printed by this thread alone, many by two.
TEST_P(RecordLists, AreTheSameAsOneRecordAfterTheOther) {
    const Things world(GetParam());
    rememberFingerprints(world.things);
    RecordList together("/received");
    together.appendText("[");
    together.append(world.things);
    together.appendText("]");
    RecordList oneByOne("/received");
    oneByOne.appendText("[");
    for (std::size_t i = 0; i < world.things.size(); ++i) {
        oneByOne.append(std::span(world.things).subspan(i, 1));
    }
    oneByOne.appendText("]");
    const LargeText text = together.take();
    EXPECT_TRUE(text.view() == oneByOne.take().view());
    EXPECT_EQ(JsonValue::parse(text.view()).array()->size(), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Counts, RecordLists, testing::Values(0, 1, 2, 511, 512, 513, 5000));

TEST(RecordLists, SeparateWhatWasThereBeforeFromWhatTwoThreadsPrint) {
    Things world(2000);
    rememberFingerprints(world.things);
    RecordList list("/received");
    list.appendText("[");
    list.append(std::span(world.things).first(1));
    list.append(world.things);
    list.append(std::span(world.things).last(1));
    list.appendText("]");
    EXPECT_EQ(JsonValue::parse(list.take().view()).array()->size(), 2002);
}

/// What a store tells of the length of a record, in bytes more than it has.
class WrongLengths : public testing::TestWithParam<int> {};

TEST_P(WrongLengths, AreNoticedAndMended) {
    Things world(600);
    rememberFingerprints(world.things);
    RecordList right("/received");
    right.append(world.things);
    for (const std::size_t wrong : {0U, 250U, 599U}) {
        DerivedDigests digests = *world.things[wrong]->derivedDigests();
        digests.recordBytes += static_cast<std::uint64_t>(GetParam());
        world.things[wrong]->remember(digests);
    }
    RecordList mended("/received");
    mended.append(world.things);
    EXPECT_TRUE(mended.take().view() == right.take().view());
}
INSTANTIATE_TEST_SUITE_P(ByBytes, WrongLengths, testing::Values(-400, -1, 1, 70, 5000));

TEST(Fingerprints, AreTheSameOnTwoThreads) {
    const Things world(3000);
    rememberFingerprints(world.things);
    for (const Thing* thing : world.things) {
        ASSERT_NE(thing->derivedDigests(), nullptr);
        const DerivedDigests again = computedFingerprints(*thing);
        ASSERT_EQ(thing->derivedDigests()->file, again.file);
        ASSERT_EQ(thing->derivedDigests()->record, again.record);
    }
}

}  // namespace
}  // namespace kelto
