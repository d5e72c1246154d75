#include <map>
#include <random>

#include <gtest/gtest.h>

#include "kelto/foundation/UuidTable.hpp"

namespace kelto {
namespace {

Uuid numbered(std::uint64_t number) {
    Uuid uuid;
    for (std::size_t i = 0; i < 8; ++i)
        uuid.bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
    return uuid;
}

TEST(UuidTable, FindsNothingWhenItIsEmpty) {
    EXPECT_EQ(UuidTable<int>().find(Uuid()), nullptr);
}

TEST(UuidTable, FindsTheValueOfAKey) {
    UuidTable<int> table;
    table.assign(numbered(1), 10);
    table.assign(Uuid(), 20);
    EXPECT_EQ(*table.find(numbered(1)), 10);
    EXPECT_EQ(*table.find(Uuid()), 20);
    EXPECT_EQ(table.find(numbered(2)), nullptr);
}

TEST(UuidTable, KeepsTheLastValueOfAKey) {
    UuidTable<int> table;
    table.assign(numbered(1), 10);
    table.assign(numbered(1), 11);
    EXPECT_EQ(*table.find(numbered(1)), 11);
    EXPECT_EQ(table.size(), 1);
}

TEST(UuidTable, AgreesWithAMap) {
    std::mt19937 random(1);
    std::map<Uuid, int> expected;
    UuidTable<int> table;
    table.reserve(10);
    for (int i = 0; i < 20'000; ++i) {
        const Uuid key = numbered(random() % 10'000);
        table.assign(key, i);
        expected[key] = i;
    }
    EXPECT_EQ(table.size(), expected.size());
    for (std::uint64_t number = 0; number < 10'000; ++number) {
        const auto place = expected.find(numbered(number));
        const int* found = table.find(numbered(number));
        ASSERT_EQ(found != nullptr, place != expected.end());
        if (found != nullptr) {
            ASSERT_EQ(*found, place->second);
        }
    }
}

TEST(UuidTable, FindsInAnyOrderWhateverTheHint) {
    UuidTable<int> table;
    for (int i = 0; i < 1000; ++i) table.assign(numbered(static_cast<std::uint64_t>(i)), i);
    std::mt19937 random(1);
    std::size_t hint = 0;
    for (int i = 0; i < 5000; ++i) {
        // Mostly one of the next, now and then any, or one that is not there.
        const std::uint64_t number = random() % 5 == 0 ? random() % 1100 : (hint + random() % 12);
        const int* const value = table.find(numbered(number), hint);
        if (number < 1000) {
            ASSERT_NE(value, nullptr) << number;
            EXPECT_EQ(*value, static_cast<int>(number));
        } else {
            EXPECT_EQ(value, nullptr) << number;
        }
    }
    hint = 5;
    EXPECT_EQ(UuidTable<int>().find(numbered(1), hint), nullptr);
}

}  // namespace
}  // namespace kelto
