#include <limits>

#include <gtest/gtest.h>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

void PrintTo(const JsonValue& value, std::ostream* out) {
    *out << value.text();
}

namespace {

TEST(JsonValue, ReadsEveryTypeAtTheTopLevel) {
    EXPECT_TRUE(JsonValue::parse(" null ").isNull());
    EXPECT_EQ(*JsonValue::parse("true").boolean(), true);
    EXPECT_EQ(*JsonValue::parse("false").boolean(), false);
    EXPECT_EQ(JsonValue::parse("12.50").number()->text, "12.50");
    EXPECT_EQ(*JsonValue::parse(R"("a\tb")").string(), "a\tb");
    EXPECT_TRUE(JsonValue::parse("[]").array()->empty());
    EXPECT_TRUE(JsonValue::parse("{}").object()->empty());
}

TEST(JsonValue, AnswersNothingForOtherTypes) {
    const JsonValue value = "text";
    EXPECT_FALSE(value.isNull());
    EXPECT_EQ(value.boolean(), nullptr);
    EXPECT_EQ(value.number(), nullptr);
    EXPECT_EQ(value.array(), nullptr);
    EXPECT_EQ(value.object(), nullptr);
    EXPECT_EQ(value.member("a"), nullptr);
    EXPECT_EQ(JsonValue(1).string(), nullptr);
}

TEST(JsonValue, KeepsMembersInTheOrderOfTheText) {
    const JsonValue value = JsonValue::parse(R"({"b":1,"a":[true,null,{"c":"d"}],"":2})");
    EXPECT_EQ(value.text(), R"({"b":1,"a":[true,null,{"c":"d"}],"":2})");
    EXPECT_EQ(*value.member("b")->number()->integer(), 1);
    EXPECT_EQ(value.member("c"), nullptr);
}

TEST(JsonValue, KeepsTheLastValueOfARepeatedKeyAtThePlaceOfTheFirst) {
    EXPECT_EQ(JsonValue::parse(R"({"a":1,"b":2,"a":3})").text(), R"({"a":3,"b":2})");
    EXPECT_EQ(JsonValue::parse(R"({"a":1,"\u0061":3})").text(), R"({"a":3})");
}

TEST(JsonValue, FindsRepeatedKeysAmongMany) {
    std::string text = "{";
    for (int i = 0; i < 100'000; ++i)
        text += "\"" + std::to_string(i % 50'000) + "\":" + std::to_string(i) + ",";
    text.back() = '}';
    const JsonValue value = JsonValue::parse(text);
    ASSERT_EQ(value.object()->size(), 50'000U);
    for (std::size_t i = 0; i < 50'000; ++i) {
        const auto& [key, member] = (*value.object())[i];
        ASSERT_EQ(key, std::to_string(i));
        ASSERT_EQ(member.number()->integer(), static_cast<std::int64_t>(i) + 50'000);
    }
}

TEST(JsonValue, PassesNumbersOnUnchanged) {
    constexpr std::string_view text = "[1.0,1e5,-0,1E+400,123456789012345678901234567890,0.10]";
    EXPECT_EQ(JsonValue::parse(text).text(), text);
}

TEST(JsonNumber, TellsIntegersAndDoublesApart) {
    EXPECT_EQ(JsonNumber{"5.0"}.integer(), 5);
    EXPECT_EQ(JsonNumber{"5.5"}.integer(), std::nullopt);
    EXPECT_EQ(JsonNumber{"5.5"}.real(), 5.5);
    EXPECT_EQ(JsonNumber{"1e400"}.real(), std::nullopt);
}

TEST(JsonValue, WritesItsNumbers) {
    EXPECT_EQ(JsonValue(std::numeric_limits<std::int64_t>::min()).text(), "-9223372036854775808");
    EXPECT_EQ(JsonValue(7).text(), "7");
    EXPECT_EQ(JsonValue(2.0).text(), "2");
    EXPECT_EQ(JsonValue(0.1).text(), "0.1");
}

TEST(JsonValueDeathTest, HoldsNoNumberThatIsNotFinite) {
    EXPECT_DEATH(JsonValue{std::numeric_limits<double>::infinity()}, "Fatal error");
}

TEST(JsonValue, WritesStringsAndKeysEscaped) {
    const JsonValue value = JsonMembers{{"a/b", "c\"d"}};
    EXPECT_EQ(value.text(), R"({"a\/b":"c\"d"})");
}

TEST(JsonValue, SetsAMemberAtItsPlaceOrAtTheEnd) {
    JsonValue value = JsonMembers{{"a", 1}, {"b", 2}};
    value.setMember("a", "new");
    value.setMember("c", nullptr);
    EXPECT_EQ(value.text(), R"({"a":"new","b":2,"c":null})");
}

TEST(JsonValue, RemovesAMember) {
    JsonValue value = JsonMembers{{"a", 1}, {"b", 2}};
    EXPECT_TRUE(value.removeMember("a"));
    EXPECT_FALSE(value.removeMember("a"));
    EXPECT_EQ(value.text(), R"({"b":2})");
    JsonValue noObject = 1;
    EXPECT_FALSE(noObject.removeMember("a"));
}

TEST(JsonValueDeathTest, SetsMembersOfObjectsOnly) {
    JsonValue value = JsonElements{};
    EXPECT_DEATH(value.setMember("a", 1), "Fatal error: A member was set");
}

TEST(JsonValue, IsWrittenForPeopleOnManyLines) {
    const JsonValue value = JsonValue::parse(R"({"a":[1,[],{}],"b":{"c":null},"d":"e"})");
    EXPECT_EQ(value.indentedText(),
              R"({
  "a": [
    1,
    [],
    {}
  ],
  "b": {
    "c": null
  },
  "d": "e"
})");
    EXPECT_EQ(JsonValue::parse(value.indentedText()), value);
}

TEST(JsonValue, ComparesByValue) {
    EXPECT_EQ(JsonValue::parse("[1, {\"a\": true}]"), JsonValue::parse("[1,{\"a\":true}]"));
    EXPECT_NE(JsonValue::parse("1"), JsonValue::parse("1.0"));  // texts are kept
    EXPECT_NE(JsonValue::parse("1"), JsonValue::parse("true"));
}

TEST(JsonValue, ReadsTheDeepestTextThatIsAllowed) {
    const std::string deepest = std::string(512, '[') + std::string(512, ']');
    EXPECT_EQ(JsonValue::parse(deepest).text(), deepest);
    EXPECT_THROW(static_cast<void>(JsonValue::parse("[" + deepest + "]")), PlatformError);
}

TEST(JsonValue, RefusesWhatFollowsTheValue) {
    EXPECT_THROW(static_cast<void>(JsonValue::parse("{} x")), PlatformError);
    EXPECT_THROW(static_cast<void>(JsonValue::parse("")), PlatformError);
}

}  // namespace
}  // namespace kelto
