#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto none = std::nullopt;

struct ReadNumber {
    const char* name;
    std::string token;
    std::optional<std::int64_t> integer;
    std::optional<double> real;
};

void PrintTo(const ReadNumber& number, std::ostream* out) {
    *out << number.token.substr(0, 60);
}

class ReadNumbers : public testing::TestWithParam<ReadNumber> {};

TEST_P(ReadNumbers, HaveTheirExactIntegerAndTheirNearestDouble) {
    const JsonNumberValue number = readJsonNumber(GetParam().token);
    EXPECT_EQ(number.integer, GetParam().integer);
    EXPECT_EQ(number.real, GetParam().real);
    if (number.real && GetParam().real) {
        EXPECT_EQ(std::signbit(*number.real), std::signbit(*GetParam().real));
    }
}

std::string zeros(std::size_t count) {
    return std::string(count, '0');
}

const ReadNumber integers[] = {
    {"Zero", "0", 0, 0.0},
    {"MinusZero", "-0", 0, -0.0},
    {"MinusZeroWithPoint", "-0.0", 0, -0.0},
    {"ZeroWithExponent", "0e5", 0, 0.0},
    {"ZeroWithGiganticExponent", "0e999999999999999999999", 0, 0.0},
    {"ZeroWithGiganticNegativeExponent", "-0.00e-999999999999999999999", 0, -0.0},
    {"Five", "5", 5, 5.0},
    {"FiveWithPoint", "5.0", 5, 5.0},
    {"FiveWithExponent", "5e0", 5, 5.0},
    {"FiveWithNegativeExponent", "500E-2", 5, 5.0},
    {"FiveWithPlus", "0.5e+1", 5, 5.0},
    {"Hundred", "1e2", 100, 100.0},
    {"HundredWithZeros", "1.000e2", 100, 100.0},
    {"EighteenDigits", "123456789012345678", 123456789012345678, 123456789012345680.0},
    {"BeyondTheDoublesIntegers", "9007199254740993", 9007199254740993, 9007199254740992.0},
    {"BeyondTheDoublesIntegersWithPoint",
     "9007199254740993.0",
     9007199254740993,
     9007199254740992.0},
    {"Largest", "9223372036854775807", largest, 0x1p63},
    {"LargestWithPoint", "9223372036854775807.000", largest, 0x1p63},
    {"LargestWithExponent", "0.9223372036854775807e19", largest, 0x1p63},
    {"Smallest", "-9223372036854775808", smallest, -0x1p63},
    {"SmallestWithExponent", "-922337203685477580.8e1", smallest, -0x1p63},
    {"LargestPowerOfTen", "1e18", 1000000000000000000, 1e18},
    {"NineteenDigitsBelowZero", "-1000000000000000000", -1000000000000000000, -1e18},
    {"ZerosBroughtBackByTheExponent", "0." + zeros(999999) + "7e1000000", 7, 7.0},
    {"ZerosTakenAwayByTheExponent", "7" + zeros(1000000) + "e-1000000", 7, 7.0},
    {"MillionZerosAfterThePoint", "7." + zeros(1000000), 7, 7.0},
};

const ReadNumber fractions[] = {
    {"Half", "0.5", none, 0.5},
    {"FiveAndAHalf", "5.5", none, 5.5},
    {"FractionByExponent", "5e-1", none, 0.5},
    {"JustAboveOne", "1.0000000000000000001", none, 1.0},
    {"JustAboveALargeInteger", "9007199254740993.5", none, 9007199254740994.0},
    {"SixteenNinths", "1.7777777777777777", none, 16.0 / 9.0},
    {"Sum", "0.30000000000000004", none, 0.1 + 0.2},
    {"RoundsHalfToEven", "9007199254740993.00000000000000000000", 9007199254740993, 0x1p53},
    {"AHairAboveHalf", "9007199254740993." + zeros(800) + "1", none, 9007199254740994.0},
    {"AMillionDigits", "0." + std::string(1000000, '3'), none, 1.0 / 3.0},
};

const ReadNumber outOfRange[] = {
    {"JustTooLarge", "9223372036854775808", none, 0x1p63},
    {"JustTooSmall", "-9223372036854775809", none, -0x1p63},
    {"LargestUnsigned", "18446744073709551615", none, 0x1p64},
    {"TwentyDigits", "10000000000000000000", none, 1e19},
    {"LargeExponent", "1e19", none, 1e19},
    {"LargestDouble", "1.7976931348623157e308", none, DBL_MAX},
    {"RoundsDownToTheLargestDouble", "1.7976931348623158e308", none, DBL_MAX},
    {"RoundsUpToInfinity", "1.7976931348623159e308", none, none},
    {"JustOverflows", "1e309", none, none},
    {"Overflows", "1e400", none, none},
    {"OverflowsBelow", "-1e400", none, none},
    {"OverflowsByFar", "1e999999999999999999999", none, none},
    {"FourHundredDigits", std::string(400, '9'), none, none},
    {"AMillionDigits", "1" + zeros(1000000), none, none},
    {"SmallestDouble", "5e-324", none, 5e-324},
    {"RoundsUpToTheSmallestDouble", "2.5e-324", none, 5e-324},
    {"RoundsDownToZero", "2.4e-324", none, 0.0},
    {"LargestDenormal", "2.225073858507201e-308", none, 2.225073858507201e-308},
    {"Underflows", "1e-400", none, 0.0},
    {"UnderflowsBelow", "-1e-400", none, -0.0},
    {"UnderflowsByFar", "1e-999999999999999999999", none, 0.0},
    {"UnderflowsByFarBelow", "-1e-99999999999999999999999999999999999999999999", none, -0.0},
    {"AMillionZerosAfterThePoint", "0." + zeros(1000000) + "1", none, 0.0},
};

INSTANTIATE_TEST_SUITE_P(Integers, ReadNumbers, testing::ValuesIn(integers), caseName<ReadNumber>);
INSTANTIATE_TEST_SUITE_P(Fractions,
                         ReadNumbers,
                         testing::ValuesIn(fractions),
                         caseName<ReadNumber>);
INSTANTIATE_TEST_SUITE_P(OutOfRange,
                         ReadNumbers,
                         testing::ValuesIn(outOfRange),
                         caseName<ReadNumber>);

// --- Random numbers against the C library and against sums done by hand
// ----------------------------

class RandomTokens {
public:
    explicit RandomTokens(unsigned seed) : random_(seed) {}

    std::string next() {
        std::string token = chance(3) ? "-" : "";
        const std::string whole = digits(below(22) + 1);
        const std::size_t nonzero = whole.find_first_not_of('0');
        token += nonzero == std::string::npos ? "0" : whole.substr(nonzero);
        if (chance(2)) token += "." + digits(below(25) + 1);
        if (chance(2)) {
            token += chance(2) ? "e" : "E";
            const char* const signs[] = {"", "+", "-"};
            token += signs[below(3)];
            token += std::to_string(below(chance(3) ? 400 : 25));
        }
        return token;
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool chance(std::size_t oneIn) { return below(oneIn) == 0; }
    /// Zeros are frequent: they are what makes integers of fractions.
    std::string digits(std::size_t count) {
        std::string text;
        const bool onlyZeros = chance(3);
        for (std::size_t i = 0; i < count; ++i) {
            text += onlyZeros || chance(3) ? '0' : static_cast<char>('0' + below(10));
        }
        return text;
    }

    std::mt19937 random_;
};

/// The integer of a token by moving the point through the written digits.
std::optional<std::int64_t> integerByHand(const std::string& token) {
    const bool negative = token[0] == '-';
    const std::size_t start = negative ? 1 : 0;
    const std::size_t mark = std::min(token.find_first_of("eE"), token.size());
    const int exponent = mark == token.size() ? 0 : std::atoi(token.c_str() + mark + 1);
    std::string written = token.substr(start, mark - start);
    std::size_t point = std::min(written.find('.'), written.size());
    if (point != written.size()) written.erase(point, 1);
    written = zeros(500) + written + zeros(500);
    point += static_cast<std::size_t>(500 + exponent);  // exponents stay below 400 here
    if (written.find_first_not_of('0', point) != std::string::npos) return std::nullopt;
    std::string whole = written.substr(0, point);
    whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size() - 1));
    if (whole.size() > 19) return std::nullopt;
    const unsigned long long magnitude = std::strtoull(whole.c_str(), nullptr, 10);
    if (magnitude > (1ULL << 63) - (negative ? 0 : 1)) return std::nullopt;
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

TEST(JsonNumbers, AgreeWithTheCLibraryAndWithSumsDoneByHand) {
    constexpr unsigned seed = 8259;
    RandomTokens tokens(seed);
    int integral = 0;
    for (int i = 0; i < 200'000; ++i) {
        const std::string token = tokens.next();
        const JsonNumberValue number = readJsonNumber(token);
        const double expected = std::strtod(token.c_str(), nullptr);
        if (std::isinf(expected)) {
            ASSERT_EQ(number.real, std::nullopt) << token << ", seed " << seed;
        } else {
            ASSERT_EQ(number.real, expected) << token << ", seed " << seed;
            ASSERT_EQ(std::signbit(*number.real), std::signbit(expected)) << token;
        }
        ASSERT_EQ(number.integer, integerByHand(token)) << token << ", seed " << seed;
        integral += number.integer ? 1 : 0;
    }
    EXPECT_GT(integral, 10'000);
    EXPECT_LT(integral, 190'000);
}

TEST(JsonNumbers, AreCorrectlyRoundedAtTheMiddleOfTwoDoubles) {
    std::mt19937_64 random(754);
    for (int i = 0; i < 2'000; ++i) {
        const double value = std::ldexp(static_cast<double>(random() >> 11 | 1ULL << 52),
                                        static_cast<int>(random() % 2000) - 1060);
        if (!std::isnormal(value)) continue;
        // The exact middle has more digits than any buffer is usually made for.
        char digits[1200];
        const double next = std::nextafter(value, INFINITY);
        const long double middle =
            (static_cast<long double>(value) + static_cast<long double>(next)) / 2;
        std::snprintf(digits, sizeof digits, "%.800Le", middle);
        std::string token = digits;
        ASSERT_EQ(readJsonNumber(token).real, std::strtod(token.c_str(), nullptr)) << token;
        token.insert(token.find('e'), "1");
        ASSERT_EQ(readJsonNumber(token).real, next) << token;
    }
}

TEST(JsonNumbers, ReadBackWhatTheWriterWrites) {
    std::mt19937_64 random(17);
    for (int i = 0; i < 100'000; ++i) {
        const double value = std::ldexp(static_cast<double>(random() >> 11),
                                        static_cast<int>(random() % 2000) - 1050);
        if (!std::isfinite(value)) continue;
        std::string text;
        appendJsonDouble(text, value);
        ASSERT_EQ(readJsonNumber(text).real, value) << text;
    }
}

}  // namespace
}  // namespace kelto
