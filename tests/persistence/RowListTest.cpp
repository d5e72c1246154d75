#include <limits>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/persistence/RowList.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/SeededRandom.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();

TEST(RowList, IsTheRowNumbersInTheOrderOfTheList) {
    ObjectEnvironment environment(std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1));
    Tag first(environment, "first");
    Tag second(environment, "second");
    EXPECT_EQ(rowListOf({}), "[]");
    EXPECT_EQ(rowListOf({&second}), "[2]");
    EXPECT_EQ(rowListOf({&second, &first}), "[2,1]");
}

TEST(RowList, HoldsTheHighestRowNumber) {
    ObjectEnvironment environment(std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1));
    environment.setLastRow(Tag::description(), highest - 1);
    Tag last(environment, "last");
    EXPECT_EQ(rowListOf({&last}), "[9223372036854775807]");
}

TEST(RowList, IsReadBack) {
    EXPECT_THAT(rowsOf("[]"), IsEmpty());
    EXPECT_THAT(rowsOf("[3]"), ElementsAre(3));
    EXPECT_THAT(rowsOf("[3,17,2]"), ElementsAre(3, 17, 2));
    EXPECT_THAT(rowsOf("[9223372036854775807,-9223372036854775808]"), ElementsAre(highest, lowest));
}

TEST(RowList, MayHoldBlanksThatAnotherProgramPutThere) {
    EXPECT_THAT(rowsOf(" [ ] "), IsEmpty());
    EXPECT_THAT(rowsOf("[3, 17]"), ElementsAre(3, 17));
    EXPECT_THAT(rowsOf("\t[\n 3 ,\r17 ]\n"), ElementsAre(3, 17));
}

class IllFormedRowList : public testing::TestWithParam<const char*> {};

TEST_P(IllFormedRowList, IsRefused) {
    EXPECT_THAT([] { (void)rowsOf(GetParam()); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("is damaged")));
}

INSTANTIATE_TEST_SUITE_P(RowList,
                         IllFormedRowList,
                         testing::Values("",
                                         " ",
                                         "[",
                                         "]",
                                         "3",
                                         "[3",
                                         "3]",
                                         "[,]",
                                         "[3,]",
                                         "[,3]",
                                         "[3 17]",
                                         "[3,,17]",
                                         "[3][",
                                         "[3]]",
                                         "[3.5]",
                                         "[3e1]",
                                         "[+3]",
                                         "[x]",
                                         "[\"3\"]",
                                         "[null]",
                                         "[[3]]",
                                         "{}",
                                         "[9223372036854775808]"));

}  // namespace
}  // namespace kelto
