#include <map>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/UniqueIndex.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

struct Numbered {
    explicit Numbered(std::uint64_t number) {
        for (std::size_t i = 0; i < 8; ++i)
            own.bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
    [[nodiscard]] const Uuid& uuid() const { return own; }
    Uuid own;
};

TEST(UniqueIndex, HoldsNothingAtFirst) {
    UniqueIndex<Numbered> index;
    EXPECT_EQ(index.find(Uuid()), nullptr);
    EXPECT_EQ(index.take(Uuid()), nullptr);
    EXPECT_THAT(index.models(), testing::IsEmpty());
}

TEST(UniqueIndex, RefusesASecondModelOfOneIdentifier) {
    Numbered first(1);
    Numbered second(1);
    UniqueIndex<Numbered> index;
    EXPECT_TRUE(index.add(first));
    EXPECT_FALSE(index.add(second));
    EXPECT_EQ(index.find(first.own), &first);
    EXPECT_THROW((void)unique<Numbered>({&first, &second}), BridgeError);
}

// A model may stand behind its place because another one was there first: each way of coming and
// going must leave it where it is found, in tables that are nearly empty and in full ones.
TEST(UniqueIndex, AgreesWithAMapWhateverComesAndGoes) {
    for (const std::size_t count : {3U, 8U, 9U, 100U, 3000U}) {
        SeededRandom random(count);
        std::vector<Numbered> all;
        for (std::size_t number = 0; number < count; ++number) all.emplace_back(number);
        std::map<Uuid, const Numbered*> expected;
        UniqueIndex<Numbered> index;
        for (int step = 0; step < 20'000; ++step) {
            Numbered& model = all[random.bits() % count];
            const auto known = expected.find(model.own);
            if (random.bits() % 2 == 0) {
                ASSERT_EQ(index.add(model), known == expected.end());
                expected[model.own] = &model;
            } else {
                ASSERT_EQ(index.take(model.own), known == expected.end() ? nullptr : &model);
                expected.erase(model.own);
            }
            ASSERT_EQ(index.size(), expected.size());
            if (step % 500 != 0) continue;
            for (const Numbered& each : all)
                ASSERT_EQ(index.contains(each.own), expected.contains(each.own));
            ASSERT_EQ(index.models().size(), expected.size());
        }
    }
}

}  // namespace
}  // namespace kelto
