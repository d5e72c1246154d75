#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/JsonStringScan.hpp"
#include "kelto/foundation/JsonWriter.hpp"

namespace kelto {
namespace {

bool pointsInto(std::string_view part, std::string_view whole) {
    return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

std::string_view readString(JsonReader& reader) {
    EXPECT_EQ(reader.kind(), JsonKind::string);
    const std::string_view text = reader.string();
    reader.finish();
    return text;
}

// --- Values
// -------------------------------------------------------------------------------------------

TEST(JsonReader, GoesThroughADocumentFromFrontToBack) {
    JsonReader reader(R"({"version":1,"records":[{"title":"a"},[],null],"on":true,"off":false})");
    EXPECT_EQ(reader.kind(), JsonKind::object);
    reader.enterObject();
    EXPECT_EQ(reader.nextKey(), "version");
    EXPECT_EQ(reader.kind(), JsonKind::number);
    EXPECT_EQ(reader.number().integer, 1);
    EXPECT_EQ(reader.nextKey(), "records");
    EXPECT_EQ(reader.kind(), JsonKind::array);
    reader.enterArray();
    ASSERT_TRUE(reader.nextElement());
    reader.enterObject();
    EXPECT_EQ(reader.nextKey(), "title");
    EXPECT_EQ(reader.string(), "a");
    EXPECT_EQ(reader.nextKey(), std::nullopt);
    ASSERT_TRUE(reader.nextElement());
    reader.enterArray();
    EXPECT_FALSE(reader.nextElement());
    ASSERT_TRUE(reader.nextElement());
    EXPECT_EQ(reader.kind(), JsonKind::null);
    reader.null();
    EXPECT_FALSE(reader.nextElement());
    EXPECT_EQ(reader.nextKey(), "on");
    EXPECT_EQ(reader.kind(), JsonKind::boolean);
    EXPECT_TRUE(reader.boolean());
    EXPECT_EQ(reader.nextKey(), "off");
    EXPECT_FALSE(reader.boolean());
    EXPECT_EQ(reader.nextKey(), std::nullopt);
    reader.finish();
}

TEST(JsonReader, TellsTheKindAsOftenAsItIsAsked) {
    JsonReader reader(" [ -1 ] ");
    EXPECT_EQ(reader.kind(), JsonKind::array);
    EXPECT_EQ(reader.kind(), JsonKind::array);
    reader.enterArray();
    ASSERT_TRUE(reader.nextElement());
    EXPECT_EQ(reader.kind(), JsonKind::number);
    EXPECT_EQ(reader.kind(), JsonKind::number);
    EXPECT_EQ(reader.numberToken(), "-1");
    EXPECT_FALSE(reader.nextElement());
    reader.finish();
}

TEST(JsonReader, GivesANumbersTextAsItStands) {
    JsonReader reader("1.50E+003");
    EXPECT_EQ(reader.numberToken(), "1.50E+003");
    reader.finish();
}

TEST(JsonReader, GivesRepeatedKeysAsTheyStand) {
    JsonReader reader(R"({"a":1,"a":2})");
    reader.enterObject();
    EXPECT_EQ(reader.nextKey(), "a");
    reader.skipValue();
    EXPECT_EQ(reader.nextKey(), "a");
    EXPECT_EQ(reader.number().integer, 2);
    EXPECT_EQ(reader.nextKey(), std::nullopt);
}

TEST(JsonReader, PassesOverValuesOfEveryKind) {
    for (const char* value :
         {"{}", "[]", "0", "\"\\n\"", "true", "null", R"({"a":[{"b":[[],{"c":"d"}]},1],"e":{}})"}) {
        const std::string text = "[" + std::string(value) + ",7]";
        JsonReader reader(text);
        reader.enterArray();
        ASSERT_TRUE(reader.nextElement());
        reader.skipValue();
        ASSERT_TRUE(reader.nextElement()) << value;
        EXPECT_EQ(reader.number().integer, 7) << value;
        EXPECT_FALSE(reader.nextElement());
        reader.finish();
    }
}

TEST(JsonReader, CountsTheDepthAcrossEnteredAndSkippedContainers) {
    const std::string inner = std::string(511, '[') + std::string(511, ']');
    const std::string text = "{\"a\":" + inner + ",\"b\":[" + inner + "]}";
    JsonReader reader(text);
    reader.enterObject();
    ASSERT_EQ(reader.nextKey(), "a");
    reader.skipValue();
    ASSERT_EQ(reader.nextKey(), "b");
    EXPECT_THROW(reader.skipValue(), PlatformError);
}

TEST(JsonReader, ReportsAMissingValueWhenItsKindIsAsked) {
    JsonReader reader("[,1]");
    reader.enterArray();
    ASSERT_TRUE(reader.nextElement());
    EXPECT_THROW(static_cast<void>(reader.kind()), PlatformError);
}

TEST(JsonReader, ReportsAMissingValueWhateverIsAskedFor) {
    for (const char* text : {"", "]", "x"}) {
        EXPECT_THROW(JsonReader(text).enterObject(), PlatformError) << text;
        EXPECT_THROW(JsonReader(text).enterArray(), PlatformError) << text;
        EXPECT_THROW(static_cast<void>(JsonReader(text).string()), PlatformError) << text;
        EXPECT_THROW(static_cast<void>(JsonReader(text).number()), PlatformError) << text;
        EXPECT_THROW(static_cast<void>(JsonReader(text).boolean()), PlatformError) << text;
        EXPECT_THROW(JsonReader(text).null(), PlatformError) << text;
        EXPECT_THROW(JsonReader(text).skipValue(), PlatformError) << text;
    }
}

TEST(JsonReader, ReadsAnEmptyViewAsAnEmptyText) {
    EXPECT_THROW(static_cast<void>(JsonReader(std::string_view()).kind()), PlatformError);
}

// --- Strings
// ------------------------------------------------------------------------------------------

TEST(JsonReader, GivesAViewIntoTheTextForAStringWithoutEscapes) {
    const std::string text = R"({"key é":"value 日本語"})";
    JsonReader reader(text);
    reader.enterObject();
    const auto key = reader.nextKey();
    const std::string_view value = reader.string();
    EXPECT_EQ(key, "key é");
    EXPECT_EQ(value, "value 日本語");
    EXPECT_TRUE(pointsInto(*key, text));
    EXPECT_TRUE(pointsInto(value, text));
}

TEST(JsonReader, DecodesEveryEscape) {
    JsonReader reader(
        R"("\"\\\/\b\f\n\r\t\u0000\u007f\u0080\u07ff\u0800\uffff\ud800\udc00\uDBFF\uDFFF")");
    const std::string expected = std::string("\"\\/\b\f\n\r\t") + '\0' +
                                 "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"
                                 "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(readString(reader), expected);
}

TEST(JsonReader, DecodesKeys) {
    JsonReader reader(R"({"\u0061\/":1})");
    reader.enterObject();
    EXPECT_EQ(reader.nextKey(), "a/");
}

TEST(JsonReader, KeepsDecodedStringsWhereTheyAre) {
    std::string text = "[";
    for (int i = 0; i < 20'000; ++i) text += "\"a\\n" + std::to_string(i) + "\",";
    text += "\"" + std::string(1'000'000, 'x') + "\\n\",\"\\t\"]";
    JsonReader reader(text);
    std::vector<std::string_view> views;
    std::vector<std::string> copies;
    reader.enterArray();
    while (reader.nextElement()) {
        views.push_back(reader.string());
        copies.emplace_back(views.back());
    }
    reader.finish();
    ASSERT_EQ(views.size(), 20'002U);
    EXPECT_EQ(views[12'345], "a\n12345");
    EXPECT_EQ(views.back(), "\t");
    EXPECT_TRUE(std::equal(views.begin(), views.end(), copies.begin()));
}

TEST(JsonReader, FindsASpecialByteAtEveryOffsetOfALongString) {
    struct Special {
        std::string_view raw, decoded;
    };
    for (const Special& special : {Special{"\\n", "\n"},
                                   {"\\u00e9", "é"},
                                   {"\\ud83d\\ude00", "😀"},
                                   {"é", "é"},
                                   {"日", "日"},
                                   {"😀", "😀"},
                                   {"\x7F", "\x7F"}}) {
        for (std::size_t length = 0; length < 50; ++length) {
            for (std::size_t offset = 0; offset <= length; ++offset) {
                std::string raw(length, 'x');
                std::string decoded = raw;
                raw.insert(offset, special.raw);
                decoded.insert(offset, special.decoded);
                const std::string text = "\"" + raw + "\"";
                const std::vector<char> exact(text.begin(), text.end());
                JsonReader reader({exact.data(), exact.size()});
                ASSERT_EQ(readString(reader), decoded) << text;
                JsonReader skipping({exact.data(), exact.size()});
                ASSERT_NO_THROW(skipping.skipValue()) << text;
            }
        }
    }
}

TEST(JsonReader, FindsAFaultAtEveryOffsetOfALongString) {
    for (const std::string fault : {"\x1F", "\n", "\x80", "\xFF", "\xC3", "\\x", "\\ud800"}) {
        for (std::size_t length = 0; length < 50; ++length) {
            for (std::size_t offset = 0; offset <= length; ++offset) {
                std::string text = "\"" + std::string(length, 'x') + "\"";
                text.insert(offset + 1, fault);
                const std::vector<char> exact(text.begin(), text.end());
                JsonReader reader({exact.data(), exact.size()});
                ASSERT_THROW(static_cast<void>(reader.string()), PlatformError) << text;
            }
        }
    }
}

TEST(JsonReader, ReadsBackWhatTheWriterWrites) {
    constexpr unsigned seed = 99;
    std::mt19937 random(seed);
    const std::string pieces[] = {"x",
                                  "\"",
                                  "\\",
                                  "/",
                                  "\n",
                                  "\x01",
                                  std::string(1, '\0'),
                                  "é",
                                  "日",
                                  "😀",
                                  "\x7F",
                                  "\\u",
                                  "plain text of some length",
                                  "\u2028"};
    for (int i = 0; i < 20'000; ++i) {
        std::string text;
        for (std::size_t count = random() % 12; count > 0; --count) {
            text += pieces[random() % std::size(pieces)];
        }
        std::string json;
        appendJsonString(json, text);
        JsonReader reader(json);
        ASSERT_EQ(readString(reader), text) << json << ", seed " << seed;
    }
}

/// Every sequence of up to two bytes, and every first three bytes of the longer ones, against the
/// definition: what a decoder gives must be encoded by the same bytes.
TEST(JsonReader, AcceptsExactlyTheWellFormedUtf8Sequences) {
    const auto accepts = [](const std::string& bytes) {
        const std::string text = "\"" + bytes + "\"";
        try {
            JsonReader(text).skipValue();
            return true;
        } catch (const PlatformError&) {
            return false;
        }
    };
    const auto encoded = [](std::uint32_t scalar) {
        const auto low = [scalar](unsigned shift) {
            return static_cast<char>(0x80 | (scalar >> shift & 0x3F));
        };
        if (scalar < 0x800) return std::string{static_cast<char>(0xC0 | scalar >> 6), low(0)};
        if (scalar < 0x10000) {
            return std::string{static_cast<char>(0xE0 | scalar >> 12), low(6), low(0)};
        }
        return std::string{static_cast<char>(0xF0 | scalar >> 18), low(12), low(6), low(0)};
    };
    // All well-formed sequences are accepted ...
    for (std::uint32_t scalar = 0x80; scalar < 0x110000; scalar += scalar < 0x11000 ? 1 : 61) {
        const bool surrogate = scalar >= 0xD800 && scalar < 0xE000;
        ASSERT_EQ(accepts(encoded(scalar)), !surrogate) << scalar;
    }
    // ... and of all pairs of bytes only the two-byte forms are.
    for (unsigned lead = 0x80; lead < 0x100; ++lead) {
        for (unsigned second = 0x80; second < 0x100; ++second) {
            const std::string bytes{static_cast<char>(lead), static_cast<char>(second)};
            const bool wellFormed = lead >= 0xC2 && lead < 0xE0 && second < 0xC0;
            ASSERT_EQ(accepts(bytes), wellFormed) << lead << " " << second;
        }
    }
    // Which second bytes the longer leads take.
    for (unsigned lead = 0xE0; lead < 0x100; ++lead) {
        for (unsigned second = 0x80; second < 0xC0; ++second) {
            std::string bytes{static_cast<char>(lead), static_cast<char>(second), '\x80'};
            const std::uint32_t high = (lead & 0xF) << 12 | (second & 0x3F) << 6;
            const bool three = lead < 0xF0 && high >= 0x800 && (high < 0xD800 || high >= 0xE000);
            ASSERT_EQ(accepts(bytes), three) << lead << " " << second;
            bytes += '\x80';
            const std::uint32_t four = (lead & 0xF) << 18 | (second & 0x3F) << 12;
            const bool wellFormed = lead >= 0xF0 && four >= 0x10000 && four < 0x110000;
            ASSERT_EQ(accepts(bytes), wellFormed) << lead << " " << second;
        }
    }
}

/// Which bytes stop the search must not depend on where in a block they stand, or on the processor.
TEST(JsonStringScan, StopsAtTheSameBytesAtEveryOffset) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        for (std::size_t offset = 0; offset < 40; ++offset) {
            std::string text(40, 'x');
            text[offset] = c;
            const char* const begin = text.data();
            const char* const end = begin + text.size();
            const char* const place = begin + offset;
            ASSERT_EQ(findJsonSpecial(begin, end), isPlainInJsonString(c) ? end : place) << byte;
            ASSERT_EQ(findJsonEscapable(begin, end), isJsonEscapable(c) ? place : end) << byte;
        }
    }
}

// --- Bugs of the caller
// -------------------------------------------------------------------------------

constexpr const char* misuse = "Fatal error: A JSON text was read in an order or as a kind";

TEST(JsonReader, RefusesATopLevelValueThatHoldsNothing) {
    for (const std::string_view text : {"5", " \"x\"", "null", "true"}) {
        JsonReader reader(text);
        try {
            reader.requireContainer();
            ADD_FAILURE() << text;
        } catch (const PlatformError& error) {
            EXPECT_THAT(error.localizedDescription(),
                        testing::EndsWith("an object or an array must stand here."));
        }
    }
}

TEST(JsonReader, TellsOtherFaultsBeforeItRefusesATopLevelValue) {
    JsonReader reader("5 x");
    try {
        reader.requireContainer();
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.localizedDescription(), testing::HasSubstr("column 3"));
    }
}

TEST(JsonReader, LeavesAContainerForTheNextCallToEnter) {
    JsonReader reader(" [1]");
    reader.requireContainer();
    reader.enterArray();
    EXPECT_TRUE(reader.nextElement());
}

TEST(JsonReaderDeathTest, StopsForAValueOfAnotherKind) {
    EXPECT_DEATH(JsonReader("[]").enterObject(), misuse);
    EXPECT_DEATH(JsonReader("{}").enterArray(), misuse);
    EXPECT_DEATH(static_cast<void>(JsonReader("1").string()), misuse);
    EXPECT_DEATH(static_cast<void>(JsonReader("\"\"").number()), misuse);
    EXPECT_DEATH(static_cast<void>(JsonReader("null").boolean()), misuse);
    EXPECT_DEATH(JsonReader("true").null(), misuse);
}

TEST(JsonReaderDeathTest, StopsForAMemberOutsideOfAnObject) {
    EXPECT_DEATH(static_cast<void>(JsonReader("{}").nextKey()), misuse);
    JsonReader inArray("[1]");
    inArray.enterArray();
    EXPECT_DEATH(static_cast<void>(inArray.nextKey()), misuse);
    JsonReader inObject(R"({"a":1})");
    inObject.enterObject();
    EXPECT_DEATH(static_cast<void>(inObject.nextElement()), misuse);
}

TEST(JsonReaderDeathTest, StopsForAValueThatWasNotConsumed) {
    JsonReader reader(R"({"a":1,"b":2})");
    reader.enterObject();
    ASSERT_EQ(reader.nextKey(), "a");
    EXPECT_DEATH(static_cast<void>(reader.nextKey()), misuse);
}

TEST(JsonReaderDeathTest, StopsForAValueBeforeItsKey) {
    JsonReader reader(R"({"a":1})");
    reader.enterObject();
    EXPECT_DEATH(static_cast<void>(reader.kind()), misuse);
    EXPECT_DEATH(reader.skipValue(), misuse);
}

TEST(JsonReaderDeathTest, StopsForAnEndInTheMiddle) {
    JsonReader reader("[1]");
    EXPECT_DEATH(reader.finish(), misuse);
    reader.enterArray();
    EXPECT_DEATH(reader.finish(), misuse);
}

TEST(JsonReaderDeathTest, StopsForASecondValue) {
    JsonReader reader("1");
    reader.skipValue();
    EXPECT_DEATH(reader.skipValue(), misuse);
}

}  // namespace
}  // namespace kelto
