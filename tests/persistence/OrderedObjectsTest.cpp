#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/persistence/OrderedObjects.hpp"

namespace kelto {
namespace {

struct Numbered {
    std::int64_t number;
    [[nodiscard]] std::int64_t row() const { return number; }
};

class OrderedObjectsTest : public testing::Test {
protected:
    Numbered first{1};
    Numbered second{2};
    Numbered third{3};
    OrderedObjects<Numbered> objects;
};

TEST_F(OrderedObjectsTest, KeepsTheOrderOfCreationWhateverTheOrderOfAdding) {
    objects.add(third);
    objects.add(first);
    objects.add(second);
    EXPECT_THAT(objects.list(), testing::ElementsAre(&first, &second, &third));
}

TEST_F(OrderedObjectsTest, HoldsAnObjectOnce) {
    objects.add(first);
    objects.add(second);
    objects.add(first);
    objects.add(second);
    EXPECT_THAT(objects.list(), testing::ElementsAre(&first, &second));
}

TEST_F(OrderedObjectsTest, RemovesOnlyTheNamedObject) {
    objects.add(first);
    objects.add(third);
    objects.remove(second);
    objects.remove(first);
    EXPECT_THAT(objects.list(), testing::ElementsAre(&third));
    EXPECT_FALSE(objects.contains(first));
    EXPECT_TRUE(objects.contains(third));
}

TEST_F(OrderedObjectsTest, TakesAnObjectBackIntoItsPlace) {
    objects.add(first);
    objects.add(second);
    objects.add(third);
    objects.remove(second);
    objects.add(second);
    EXPECT_THAT(objects.list(), testing::ElementsAre(&first, &second, &third));
    EXPECT_EQ(objects.size(), 3U);
}

TEST_F(OrderedObjectsTest, IsEmptyWhenAllWereRemovedInTheirOrder) {
    std::vector<Numbered> many;
    for (std::int64_t i = 1; i <= 1000; ++i) many.push_back({i});
    for (Numbered& object : many) objects.add(object);
    for (Numbered& object : many) {
        objects.remove(object);
        EXPECT_FALSE(objects.contains(object));
    }
    EXPECT_TRUE(objects.empty());
    EXPECT_THAT(objects.list(), testing::IsEmpty());
}

TEST_F(OrderedObjectsTest, FindsAndRemovesAnObjectThatWasAddedLate) {
    std::vector<Numbered> many;
    for (std::int64_t i = 1; i <= 100; ++i) many.push_back({i});
    for (std::size_t i = 0; i < many.size(); i += 2) objects.add(many[i]);
    objects.add(many[49]);
    EXPECT_TRUE(objects.contains(many[49]));
    EXPECT_EQ(objects.size(), 51U);
    EXPECT_EQ(objects.list()[25], &many[49]);
    objects.add(many[49]);
    EXPECT_EQ(objects.size(), 51U);
    objects.remove(many[49]);
    EXPECT_FALSE(objects.contains(many[49]));
    EXPECT_EQ(objects.size(), 50U);
}

TEST_F(OrderedObjectsTest, AgreesWithASetWhateverIsAddedAndRemoved) {
    std::vector<Numbered> many;
    for (std::int64_t i = 0; i < 200; ++i) many.push_back({i});
    std::set<std::int64_t> expected;
    std::mt19937 dice(1);
    for (int step = 0; step < 20'000; ++step) {
        // Fuller and emptier by turns.
        const bool adds = dice() % 10 < (step / 2000 % 2 == 0 ? 7U : 3U);
        Numbered& object = many[dice() % many.size()];
        if (adds) {
            objects.add(object);
            expected.insert(object.number);
        } else {
            objects.remove(object);
            expected.erase(object.number);
        }
        ASSERT_EQ(objects.size(), expected.size());
        ASSERT_EQ(objects.contains(object), adds);
        if (step % 50 != 0) continue;
        std::vector<std::int64_t> listed;
        for (const Numbered* each : objects.list()) listed.push_back(each->number);
        ASSERT_THAT(listed, testing::ElementsAreArray(expected));
    }
}

// If each took a step for every object that is already there, this would not end.
TEST_F(OrderedObjectsTest, TakesHundredsOfThousandsOfObjectsInTheOppositeOfTheirOrder) {
    std::vector<Numbered> many;
    for (std::int64_t i = 0; i < 300'000; ++i) many.push_back({i});
    for (auto object = many.rbegin(); object != many.rend(); ++object) objects.add(*object);
    EXPECT_EQ(objects.size(), many.size());
    EXPECT_EQ(objects.list().front(), &many.front());
    EXPECT_EQ(objects.list().back(), &many.back());
}

}  // namespace
}  // namespace kelto
