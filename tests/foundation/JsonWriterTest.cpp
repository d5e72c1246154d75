#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "kelto/foundation/JsonWriter.hpp"

// Golden tests: hosts keep digests of this output for years. A difference here is never a reason to
// change an expectation.

namespace kelto {
namespace {

std::string jsonString(std::string_view text) {
    std::string out;
    appendJsonString(out, text);
    return out;
}

std::string jsonDouble(double value) {
    std::string out;
    appendJsonDouble(out, value);
    return out;
}

std::string jsonInteger(std::int64_t value) {
    std::string out;
    appendJsonInteger(out, value);
    return out;
}

TEST(JsonWriter, EscapesEveryControlCharacter) {
    constexpr std::string_view escapes[32] = {
        "\\u0000", "\\u0001", "\\u0002", "\\u0003", "\\u0004", "\\u0005", "\\u0006", "\\u0007",
        "\\b",     "\\t",     "\\n",     "\\u000b", "\\f",     "\\r",     "\\u000e", "\\u000f",
        "\\u0010", "\\u0011", "\\u0012", "\\u0013", "\\u0014", "\\u0015", "\\u0016", "\\u0017",
        "\\u0018", "\\u0019", "\\u001a", "\\u001b", "\\u001c", "\\u001d", "\\u001e", "\\u001f"};
    for (std::size_t byte = 0; byte < 32; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(jsonString(text), "\"" + std::string(escapes[byte]) + "\"");
    }
}

struct WrittenString {
    const char* name;
    std::string_view text;
    std::string_view json;
};

void PrintTo(const WrittenString& written, std::ostream* out) {
    *out << written.json;
}

class WrittenStrings : public testing::TestWithParam<WrittenString> {};

TEST_P(WrittenStrings, NeverChange) {
    EXPECT_EQ(jsonString(GetParam().text), GetParam().json);
}

constexpr WrittenString writtenStrings[] = {
    {"Empty", "", R"("")"},
    {"Plain", "plain", R"("plain")"},
    {"QuotationMark", "\"", R"("\"")"},
    {"ReverseSolidus", "\\", R"("\\")"},
    {"Solidus", "https://a/b", R"("https:\/\/a\/b")"},
    {"Delete", "\x7F", "\"\x7F\""},
    {"C1ControlCharacter", "\xC2\x85", "\"\xC2\x85\""},
    {"LineSeparators", "\u2028\u2029", "\"\u2028\u2029\""},
    {"ByteOrderMark", "\uFEFFx", "\"\uFEFFx\""},
    {"Accents", "é e\u0301", "\"é e\u0301\""},
    {"Emoji", "👩‍👩‍👧 𝄞", "\"👩‍👩‍👧 𝄞\""},
    {"Markup", "<a href='x'>&", R"("<a href='x'>&")"},
    {"NulInside", {"a\0b", 3}, R"("a\u0000b")"},
    {"AllTogether", "\t\"é/\\\n", R"("\t\"é\/\\\n")"},
};

INSTANTIATE_TEST_SUITE_P(JsonWriter,
                         WrittenStrings,
                         testing::ValuesIn(writtenStrings),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(JsonWriter, EscapesAtEveryOffsetOfALongString) {
    for (std::size_t length = 1; length < 70; ++length) {
        for (std::size_t offset = 0; offset < length; ++offset) {
            std::string text(length, 'x');
            text[offset] = '"';
            std::string expected = "\"" + text + "\"";
            expected.insert(offset + 1, "\\");
            ASSERT_EQ(jsonString(text), expected);
        }
    }
}

TEST(JsonWriter, LooksAtEveryByteOfALongStringAlike) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const std::string alone = jsonString(std::string(1, c));
        std::string expected = "\"";
        for (int i = 0; i < 40; ++i) expected += alone.substr(1, alone.size() - 2);
        ASSERT_EQ(jsonString(std::string(40, c)), expected + "\"") << byte;
    }
}

TEST(JsonWriter, AppendsToWhatIsThere) {
    std::string out = "{";
    appendJsonString(out, "a");
    out += ':';
    appendJsonInteger(out, 1);
    out += ',';
    appendJsonString(out, "b");
    out += ':';
    appendJsonDouble(out, 0.5);
    EXPECT_EQ(out, R"({"a":1,"b":0.5)");
}

TEST(JsonWriter, WritesIntegersInFull) {
    EXPECT_EQ(jsonInteger(0), "0");
    EXPECT_EQ(jsonInteger(-1), "-1");
    EXPECT_EQ(jsonInteger(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(jsonInteger(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

struct WrittenDouble {
    const char* name;
    double value;
    std::string_view json;
};

void PrintTo(const WrittenDouble& written, std::ostream* out) {
    *out << written.json;
}

class WrittenDoubles : public testing::TestWithParam<WrittenDouble> {};

TEST_P(WrittenDoubles, NeverChange) {
    EXPECT_EQ(jsonDouble(GetParam().value), GetParam().json);
}

TEST_P(WrittenDoubles, OnlyGetASignWhenNegative) {
    if (std::signbit(GetParam().value)) return;
    EXPECT_EQ(jsonDouble(-GetParam().value), "-" + std::string(GetParam().json));
}

constexpr WrittenDouble writtenDoubles[] = {
    {"Zero", 0.0, "0"},
    {"MinusZero", -0.0, "-0"},
    {"One", 1.0, "1"},
    {"Hundred", 100.0, "100"},
    {"OneDigitFraction", 1.6, "1.6"},
    {"SixteenNinths", 16.0 / 9.0, "1.7777777777777777"},
    {"Tenth", 0.1, "0.1"},
    {"Third", 1.0 / 3.0, "0.3333333333333333"},
    {"Sum", 0.1 + 0.2, "0.30000000000000004"},
    {"PointInside", 1234.5, "1234.5"},
    {"Million", 1e6, "1000000"},
    {"ZerosInside", 100.001, "100.001"},
    {"Large", 1e21, "1e+21"},
    {"Small", 1e-7, "1e-07"},
    {"SmallWithFraction", 1.5e-7, "1.5e-07"},
    {"LastPowerInFull", 1e15, "1000000000000000"},
    {"FirstPowerWithExponent", 1e16, "1e+16"},
    {"LastInteger", 9007199254740991.0, "9007199254740991"},
    {"LargestInFull", 9007199254740992.0, "9007199254740992"},
    {"FirstWithExponent", 9007199254740994.0, "9.007199254740994e+15"},
    {"LastHalf", 4503599627370495.5, "4503599627370495.5"},
    {"SmallestInFull", 0.0001, "0.0001"},
    {"JustAboveTheSmallestInFull", 0.00012345, "0.00012345"},
    {"JustBelowTheSmallestInFull", 0.00009999999999999999, "9.999999999999999e-05"},
    {"FirstSmallWithExponent", 0.00001, "1e-05"},
    {"ThreeExponentDigits", 1e100, "1e+100"},
    {"SmallestOfAll", 5e-324, "5e-324"},
    {"SmallestNormal", DBL_MIN, "2.2250738585072014e-308"},
    {"LargestOfAll", DBL_MAX, "1.7976931348623157e+308"},
    {"Pi", 3.141592653589793, "3.141592653589793"},
};

INSTANTIATE_TEST_SUITE_P(JsonWriter,
                         WrittenDoubles,
                         testing::ValuesIn(writtenDoubles),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(JsonWriter, WritesDoublesThatReadBackEqual) {
    std::mt19937_64 random(20240501);
    for (int i = 0; i < 200'000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (!std::isfinite(value)) continue;
        const std::string text = jsonDouble(value);
        const double back = std::strtod(text.c_str(), nullptr);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value)) << text;
    }
}

TEST(JsonWriter, WritesEverydayDoublesThatReadBackEqualWithoutAnExponent) {
    std::mt19937_64 random(20240502);
    std::uniform_real_distribution<double> exponents(-13, 53);
    for (int i = 0; i < 100'000; ++i) {
        const double value = std::exp2(exponents(random));
        const std::string text = jsonDouble(value);
        ASSERT_EQ(text.find('e'), std::string::npos) << text;
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    }
}

TEST(JsonWriterDeathTest, StopsTheProcessForWhatIsNoNumber) {
    EXPECT_DEATH(jsonDouble(std::numeric_limits<double>::infinity()), "Fatal error: A number");
    EXPECT_DEATH(jsonDouble(std::nan("")), "Fatal error: A number");
}

}  // namespace
}  // namespace kelto
