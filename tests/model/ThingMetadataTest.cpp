#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "kelto/foundation/Json.hpp"
#include "kelto/model/ThingMetadata.hpp"

namespace kelto {

void PrintTo(const ThingMetadata& metadata, std::ostream* out) {
    *out << metadata.json();
}

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

const ThingMetadata everyField{.author = "Ada \"L\"",
                               .authorHandle = "@ada",
                               .siteName = "Café / Bar",
                               .stars = 5,
                               .forks = 0,
                               .language = "C++",
                               .homepage = "https://example.org/?a=1",
                               .width = std::numeric_limits<std::int64_t>::max(),
                               .height = std::numeric_limits<std::int64_t>::min()};

TEST(ThingMetadata, StartsWithEveryFieldAbsent) {
    EXPECT_EQ(ThingMetadata(),
              (ThingMetadata{std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt,
                             std::nullopt}));
}

TEST(ThingMetadata, DiffersInEachField) {
    const ThingMetadata empty;
    EXPECT_NE(empty, ThingMetadata{.author = ""});
    EXPECT_NE(empty, ThingMetadata{.authorHandle = ""});
    EXPECT_NE(empty, ThingMetadata{.siteName = ""});
    EXPECT_NE(empty, ThingMetadata{.stars = 0});
    EXPECT_NE(empty, ThingMetadata{.forks = 0});
    EXPECT_NE(empty, ThingMetadata{.language = ""});
    EXPECT_NE(empty, ThingMetadata{.homepage = ""});
    EXPECT_NE(empty, ThingMetadata{.width = 0});
    EXPECT_NE(empty, ThingMetadata{.height = 0});
}

struct ReadCase {
    std::string_view name;
    std::string text;
    ThingMetadata expected;
};

void PrintTo(const ReadCase& tested, std::ostream* out) {
    *out << testing::PrintToString(tested.text);
}

class ReadMetadata : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadMetadata, HasTheFieldsOfTheText) {
    EXPECT_EQ(ThingMetadata::fromJson(GetParam().text), GetParam().expected);
}

const ThingMetadata none;

const ReadCase readable[] = {
    {"EmptyObject", "{}", none},
    {"UnknownKey", R"({"stars":5,"linkedRelativePath":{"a":[1]}})", {.stars = 5}},
    {"OtherLetterCase", R"({"Stars":5})", none},
    {"Null", R"({"stars":null})", none},
    {"NullAmongOthers", R"({"author":"A","stars":null})", {.author = "A"}},
    {"Blanks", " \t\r\n{ \"stars\" : 5 } ", {.stars = 5}},
    {"ByteOrderMark", "\xEF\xBB\xBF{\"stars\":5}", {.stars = 5}},
    {"EmptyText", R"({"author":""})", {.author = ""}},
    {"EscapedText", R"({"author":"\u00e9\ud83d\ude00\n"})", {.author = "é😀\n"}},
    {"NulInText", R"({"author":"a\u0000b"})", {.author = "a\0b"s}},
    {"EscapedKey", R"({"\u0073tars":5})", {.stars = 5}},
    {"IntegralFraction", R"({"stars":5.0})", {.stars = 5}},
    {"IntegralExponent", R"({"stars":1e3})", {.stars = 1000}},
    {"MinusZero", R"({"stars":-0.0})", {.stars = 0}},
    {"Negative", R"({"width":-12})", {.width = -12}},
    {"Largest",
     R"({"width":9223372036854775807})",
     {.width = std::numeric_limits<std::int64_t>::max()}},
    {"Smallest",
     R"({"width":-9223372036854775808})",
     {.width = std::numeric_limits<std::int64_t>::min()}},
    {"RepeatedKey", R"({"stars":1,"stars":2})", {.stars = 2}},
    {"RepeatedKeyEndsInNull", R"({"stars":1,"stars":null})", none},
    {"RepeatedKeyBeginsWrong", R"({"stars":"x","stars":2})", {.stars = 2}},
};

INSTANTIATE_TEST_SUITE_P(Readable,
                         ReadMetadata,
                         testing::ValuesIn(readable),
                         [](const auto& tested) { return std::string(tested.param.name); });

// A field that could be read stands beside each fault: nothing of the value is kept.
const ReadCase rejected[] = {
    {"TextForInteger", R"({"author":"A","stars":"5"})", none},
    {"BooleanForInteger", R"({"author":"A","stars":true})", none},
    {"FractionForInteger", R"({"author":"A","stars":5.5})", none},
    {"IntegerTooLarge", R"({"author":"A","stars":9223372036854775808})", none},
    {"IntegerBeyondDouble", R"({"author":"A","stars":1e400})", none},
    {"ObjectForInteger", R"({"author":"A","stars":{}})", none},
    {"NumberForText", R"({"author":5,"stars":5})", none},
    {"BooleanForText", R"({"language":false,"stars":5})", none},
    {"ArrayForText", R"({"homepage":["x"],"stars":5})", none},
    {"RepeatedKeyEndsWrong", R"({"author":"A","stars":1,"stars":"x"})", none},
    {"TopLevelArray", R"([{"stars":5}])", none},
    {"TopLevelText", R"("stars")", none},
    {"TopLevelNumber", "5", none},
    {"TopLevelNull", "null", none},
};

INSTANTIATE_TEST_SUITE_P(OfTheWrongType,
                         ReadMetadata,
                         testing::ValuesIn(rejected),
                         [](const auto& tested) { return std::string(tested.param.name); });

const ReadCase unreadable[] = {
    {"Nothing", "", none},
    {"OnlyBlanks", " \n", none},
    {"NoJson", "stars: 5", none},
    {"Truncated", R"({"stars":5)", none},
    {"TrailingText", R"({"stars":5} x)", none},
    {"TrailingNul", "{\"stars\":5}\0"s, none},
    {"TrailingComma", R"({"stars":5,})", none},
    {"IllFormedUtf8", "{\"author\":\"\xff\",\"stars\":5}", none},
    {"IllFormedUnknownKey", "{\"\xc0\x80\":1,\"stars\":5}", none},
    {"LoneSurrogate", R"({"x":"\ud800","stars":5})", none},
    {"TooDeep", std::string(1'000'000, '['), none},
    {"TooDeepBesideAField",
     R"({"stars":5,"x":)" + std::string(600, '[') + std::string(600, ']') + "}",
     none},
};

INSTANTIATE_TEST_SUITE_P(Unreadable,
                         ReadMetadata,
                         testing::ValuesIn(unreadable),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(ThingMetadata, IsWrittenAsAnEmptyObjectWhenEmpty) {
    EXPECT_EQ(ThingMetadata().json(), "{}");
}

TEST(ThingMetadata, IsWrittenWithThePresentFieldsOnly) {
    EXPECT_EQ((ThingMetadata{.width = 800, .height = 600}.json()), R"({"width":800,"height":600})");
}

TEST(ThingMetadata, IsWrittenInTheOrderOfItsFields) {
    const JsonValue written = JsonValue::parse(everyField.json());
    ASSERT_NE(written.object(), nullptr);
    std::vector<std::string> keys;
    for (const auto& [key, value] : *written.object()) keys.push_back(key);
    EXPECT_EQ(keys,
              (std::vector<std::string>{"author",
                                        "authorHandle",
                                        "siteName",
                                        "stars",
                                        "forks",
                                        "language",
                                        "homepage",
                                        "width",
                                        "height"}));
}

TEST(ThingMetadata, ReadsBackAsItWasWritten) {
    const ThingMetadata values[] = {none,
                                    everyField,
                                    {.author = ""},
                                    {.author = "a\0\x01\x1f\x7f\"\\/\u2028"s},
                                    {.language = std::string(3'000'000, '"')},
                                    {.stars = -1, .forks = 1}};
    for (const ThingMetadata& value : values) {
        EXPECT_EQ(ThingMetadata::fromJson(value.json()), value);
    }
}

TEST(ThingMetadata, RepairsAnIllFormedTextWhenItIsWritten) {
    const ThingMetadata metadata{.author = "a\xff", .stars = 5};
    EXPECT_EQ(ThingMetadata::fromJson(metadata.json()),
              (ThingMetadata{.author = "a\ufffd"s, .stars = 5}));
}

TEST(ThingMetadata, ReadsAnObjectOfManyUnknownMembers) {
    std::string text = "{";
    for (int i = 0; i < 100'000; ++i) text += "\"k" + std::to_string(i) + "\":" + "[{}],";
    text += "\"stars\":5}";
    EXPECT_EQ(ThingMetadata::fromJson(text), ThingMetadata{.stars = 5});
}

}  // namespace
}  // namespace kelto
