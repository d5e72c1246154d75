#include <cstdint>
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

}  // namespace
}  // namespace kelto
