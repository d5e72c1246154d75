#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "kelto/foundation/Date.hpp"

namespace kelto {
namespace {

struct RoundedMoment {
    const char* name;
    double seconds;
    std::int64_t milliseconds;
};

void PrintTo(const RoundedMoment& moment, std::ostream* out) {
    *out << moment.seconds << " s";
}

class RoundedMoments : public testing::TestWithParam<RoundedMoment> {};

TEST_P(RoundedMoments, HaveTheNearestMillisecondWithHalvesAwayFromZero) {
    const Date date{GetParam().seconds};
    EXPECT_EQ(date.representableMilliseconds(), GetParam().milliseconds);
    EXPECT_EQ(date.milliseconds(), GetParam().milliseconds);
}

// 0.0625 s and its odd multiples are exact halves of a millisecond in binary.
constexpr RoundedMoment roundedMoments[] = {
    {"Zero", 0, 0},
    {"MinusZero", -0.0, 0},
    {"HalfUp", 0.0625, 63},
    {"HalfDown", -0.0625, -63},
    {"HalfAboveAnEvenNumber", 0.1875, 188},
    {"HalfBelowAnEvenNumber", -0.1875, -188},
    {"SmallHalf", 0.0005, 1},
    {"SmallHalfBefore1970", -0.0005, -1},
    {"JustUnderAHalf", 0.00049999999999999, 0},
    {"AMomentOfToday", 1700000000.123, 1700000000123},
    {"BeforeTheCommonEra", -99999999999.5, -99999999999500},
    {"NearTheEnd", 9223372036854774.0, 9223372036854773760},
};

INSTANTIATE_TEST_SUITE_P(Date,
                         RoundedMoments,
                         testing::ValuesIn(roundedMoments),
                         [](const auto& tested) { return std::string(tested.param.name); });

/// A moment whose milliseconds, as Date computes them, are exactly `milliseconds`.
Date momentOf(double milliseconds) {
    double seconds = milliseconds / 1000.0;
    while (seconds * 1000.0 > milliseconds) seconds = std::nextafter(seconds, -INFINITY);
    while (seconds * 1000.0 < milliseconds) seconds = std::nextafter(seconds, INFINITY);
    return {seconds};
}

TEST(Date, RepresentsTheSmallestSignedInteger) {
    const Date smallest = momentOf(-0x1p63);
    ASSERT_EQ(smallest.secondsSince1970 * 1000.0, -0x1p63);
    EXPECT_EQ(smallest.representableMilliseconds(), std::numeric_limits<std::int64_t>::min());
}

TEST(Date, RefusesTheFirstIntegerThatDoesNotFit) {
    const Date beyond = momentOf(0x1p63);
    ASSERT_EQ(beyond.secondsSince1970 * 1000.0, 0x1p63);
    EXPECT_EQ(beyond.representableMilliseconds(), std::nullopt);
}

TEST(Date, RefusesWhatIsBelowTheSmallestSignedInteger) {
    EXPECT_EQ(Date{-9223372036854780.0}.representableMilliseconds(), std::nullopt);
}

TEST(Date, RefusesWhatIsNotFinite) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Date{infinity}.representableMilliseconds(), std::nullopt);
    EXPECT_EQ(Date{-infinity}.representableMilliseconds(), std::nullopt);
    EXPECT_EQ(Date{std::nan("")}.representableMilliseconds(), std::nullopt);
    EXPECT_EQ(Date{1e306}.representableMilliseconds(), std::nullopt);  // infinite once multiplied
}

TEST(DateDeathTest, StopsTheProcessForAMomentThatCannotBeWritten) {
    EXPECT_DEATH(static_cast<void>(Date{1e300}.milliseconds()), "Fatal error: A date lies outside");
}

TEST(Date, ComesFromMillisecondsByOneDivision) {
    EXPECT_EQ(Date::fromMilliseconds(1700000000123.0).secondsSince1970, 1700000000123.0 / 1000.0);
    EXPECT_EQ(Date::fromMilliseconds(0.5).secondsSince1970, 0.0005);
}

TEST(Date, GivesBackTheMillisecondsItCameFrom) {
    for (std::int64_t milliseconds = 1699999999000; milliseconds < 1700000001000; ++milliseconds) {
        const Date date = Date::fromMilliseconds(static_cast<double>(milliseconds));
        ASSERT_EQ(date.milliseconds(), milliseconds);
    }
}

TEST(Date, ComparesExactly) {
    EXPECT_EQ((Date{1.5}), (Date{1.5}));
    EXPECT_NE((Date{1.5}), (Date{std::nextafter(1.5, 2.0)}));
    EXPECT_LT((Date{-1}), (Date{0}));
}

}  // namespace
}  // namespace kelto
