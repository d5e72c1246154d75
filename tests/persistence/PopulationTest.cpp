#include <limits>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/persistence/Population.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PopulationTest : public testing::Test {
protected:
    /// Adds an object of that row.
    ModelObject& add(std::int64_t row) {
        auto object = Tag::description().make(environment, row);
        ModelObject& added = *object;
        population.add(std::move(object));
        return added;
    }

    [[nodiscard]] std::vector<std::int64_t> rows() const {
        std::vector<std::int64_t> rows;
        population.visit([&rows](const ModelObject& object) { rows.push_back(object.row()); });
        return rows;
    }

    ObjectEnvironment environment{std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1)};
    Population population{Tag::description()};
};

TEST_F(PopulationTest, FindsObjectsByTheirRows) {
    std::vector<ModelObject*> added;
    for (const std::int64_t row : {-3, 1, 2, 3, 10, 11, 500}) added.push_back(&add(row));
    for (ModelObject* object : added) EXPECT_EQ(population.find(object->row()), object);
    for (const std::int64_t row : {-4, -2, 0, 4, 9, 12, 499, 501}) {
        EXPECT_EQ(population.find(row), nullptr) << row;
    }
}

TEST_F(PopulationTest, FindsTheLowestAndTheHighestRow) {
    using Limits = std::numeric_limits<std::int64_t>;
    EXPECT_EQ(population.find(1), nullptr);
    ModelObject& lowest = add(Limits::min());
    ModelObject& highest = add(Limits::max());
    EXPECT_EQ(population.find(Limits::min()), &lowest);
    EXPECT_EQ(population.find(Limits::max()), &highest);
    EXPECT_EQ(population.find(0), nullptr);
}

TEST_F(PopulationTest, FindsTheOthersAfterRemovalsOfAnyOrder) {
    std::vector<ModelObject*> added;
    for (std::int64_t row = 1; row <= 20; ++row) added.push_back(&add(row));
    for (const std::int64_t row : {5, 1, 20, 6, 19, 7, 8, 2, 9, 10, 11, 12}) {
        population.remove(*added[static_cast<std::size_t>(row - 1)]);
        EXPECT_EQ(population.find(row), nullptr);
        EXPECT_EQ(population.find(15), added[14]);
    }
    EXPECT_THAT(rows(), ElementsAre(3, 4, 13, 14, 15, 16, 17, 18));
    EXPECT_EQ(population.size(), 8U);
}

TEST_F(PopulationTest, BeginsBehindTheLastObjectThatIsThere) {
    EXPECT_EQ(population.firstRowBehind(), std::numeric_limits<std::int64_t>::min());
    ModelObject& first = add(1);
    ModelObject& second = add(2);
    ModelObject& ninth = add(9);
    EXPECT_EQ(population.firstRowBehind(), 10);
    population.remove(second);
    population.remove(ninth);
    EXPECT_EQ(population.firstRowBehind(), 2);
    add(2);
    EXPECT_THAT(rows(), ElementsAre(1, 2));
    population.remove(first);
    EXPECT_THAT(rows(), ElementsAre(2));
}

TEST_F(PopulationTest, RefusesARowThatIsNotBehindTheOthers) {
    add(7);
    EXPECT_THROW(add(7), PlatformError);
    EXPECT_THROW(add(6), PlatformError);
    EXPECT_THAT(rows(), ElementsAre(7));
}

TEST_F(PopulationTest, IsEmptyAfterClearing) {
    add(1);
    population.remove(add(2));
    population.clear();
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_EQ(population.size(), 0U);
    add(1);
    EXPECT_THAT(rows(), ElementsAre(1));
}

}  // namespace
}  // namespace kelto
