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

}  // namespace
}  // namespace kelto
