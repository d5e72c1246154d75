#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "tests/support/CaseName.hpp"

// Which texts are JSON. Every text is read twice, as a tree and by passing over it, as both must
// check the same.

namespace kelto {
namespace {

struct Text {
    const char* name;
    std::string text;
};

void PrintTo(const Text& text, std::ostream* out) {
    *out << testing::PrintToString(text.text.substr(0, 100));
}

/// Runs on a copy without a byte behind its end, where a sanitizer sees every step too far.
template <typename Run>
void withExactCopy(std::string_view text, const Run& run) {
    const std::vector<char> copy(text.begin(), text.end());
    run(std::string_view(copy.data(), copy.size()));
}

void pass(std::string_view text) {
    JsonReader reader(text);
    reader.skipValue();
    reader.finish();
}

class WellFormedTexts : public testing::TestWithParam<Text> {};

TEST_P(WellFormedTexts, AreRead) {
    withExactCopy(GetParam().text, [](std::string_view text) {
        EXPECT_NO_THROW(static_cast<void>(JsonValue::parse(text)));
        EXPECT_NO_THROW(pass(text));
    });
}

TEST_P(WellFormedTexts, AreRefusedWhenAnotherCharacterFollows) {
    withExactCopy(GetParam().text + " ]", [](std::string_view text) {
        EXPECT_THROW(static_cast<void>(JsonValue::parse(text)), PlatformError);
        EXPECT_THROW(pass(text), PlatformError);
    });
}

std::string inQuotes(std::string_view content) {
    return "\"" + std::string(content) + "\"";
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

const Text wellFormedTexts[] = {
    {"EmptyObject", "{}"},
    {"EmptyArray", "[]"},
    {"BlanksEverywhere", " \t\r\n{ \"a\" : [ 1 , 2 ] , \"b\" : { } , \"c\" : [ ] }\n"},
    {"NoBlanks", R"({"a":[1,"2",true,false,null,{"b":{}}]})"},
    {"EmptyKey", R"({"":0})"},
    {"RepeatedKey", R"({"a":1,"a":2})"},
    {"ScalarNumber", "0"},
    {"ScalarString", "\"\""},
    {"ScalarTrue", "true"},
    {"ScalarFalse", "false"},
    {"ScalarNull", "null"},
    {"ByteOrderMark", "\xEF\xBB\xBF{}"},
    {"ByteOrderMarkInAString", "\"\xEF\xBB\xBFx\xEF\xBB\xBF\""},
    {"NumberForms", "[0,-0,1,-1,10,1.5,-0.5,1e5,1E5,1e+5,1e-5,1.5E-05,0e0,-0.0e-0,1e00]"},
    {"HugeNumber", "1e400"},
    {"NumberOfAMillionDigits", std::string(1'000'000, '7')},
    {"AllEscapes", R"("\"\\\/\b\f\n\r\t\u0000\u001f\u00e9\uABCD\uabcd\uFFFF")"},
    {"SurrogatePair", R"("\ud83d\ude00\uD83D\uDE00")"},
    {"Delete", inQuotes("\x7F")},
    {"LineSeparators", inQuotes("\u2028\u2029\u0085\u00A0")},
    {"Utf8LowestOfTwo", inQuotes("\xC2\x80")},
    {"Utf8HighestOfTwo", inQuotes("\xDF\xBF")},
    {"Utf8LowestOfThree", inQuotes("\xE0\xA0\x80")},
    {"Utf8BeforeTheSurrogates", inQuotes("\xED\x9F\xBF")},
    {"Utf8AfterTheSurrogates", inQuotes("\xEE\x80\x80")},
    {"Utf8HighestOfThree", inQuotes("\xEF\xBF\xBF")},
    {"Utf8LowestOfFour", inQuotes("\xF0\x90\x80\x80")},
    {"Utf8HighestOfAll", inQuotes("\xF4\x8F\xBF\xBF")},
    {"LongString", inQuotes(std::string(1'000'000, 'x'))},
    {"LongStringOfManyScripts", inQuotes(repeated("aé日😀", 10'000))},
    {"DeepestArray", repeated("[", 512) + repeated("]", 512)},
    {"DeepestObject", repeated("{\"a\":", 511) + "{}" + repeated("}", 511)},
    {"ManyShallowContainers", "[" + repeated("[],{},", 1000) + "0]"},
};

INSTANTIATE_TEST_SUITE_P(Json, WellFormedTexts, testing::ValuesIn(wellFormedTexts), caseName<Text>);

class MalformedTexts : public testing::TestWithParam<Text> {};

TEST_P(MalformedTexts, AreRefused) {
    withExactCopy(GetParam().text, [](std::string_view text) {
        EXPECT_THROW(static_cast<void>(JsonValue::parse(text)), PlatformError);
        EXPECT_THROW(pass(text), PlatformError);
    });
}

/// The same fault where its place in a long text is nothing special.
TEST_P(MalformedTexts, AreRefusedInsideOfAnArray) {
    const std::string around = "[\"0123456789abcdef\", 0, " + GetParam().text + ", null]";
    if (GetParam().text.find_first_not_of(" \t\r\n") == std::string::npos) {
        EXPECT_THROW(pass(around), PlatformError);  // a value is missing
        return;
    }
    withExactCopy(around, [](std::string_view text) {
        EXPECT_THROW(static_cast<void>(JsonValue::parse(text)), PlatformError);
        EXPECT_THROW(pass(text), PlatformError);
    });
}

const Text malformedStructures[] = {
    {"Empty", ""},
    {"OnlyBlanks", " \n\t\r "},
    {"OnlyAByteOrderMark", "\xEF\xBB\xBF"},
    {"TwoByteOrderMarks", "\xEF\xBB\xBF\xEF\xBB\xBF{}"},
    {"HalfAByteOrderMark", "\xEF\xBB"},
    {"TwoValues", "{}{}"},
    {"NulAfterTheValue", {"{}\0", 3}},
    {"NulBeforeTheValue", {"\0{}", 3}},
    {"NoBreakSpace", "\xC2\xA0{}"},
    {"FormFeed", "\f{}"},
    {"VerticalTab", "[\v]"},
    {"LineComment", "{} // x"},
    {"Comment", "/* x */ {}"},
    {"CommentInside", "[1, /* x */ 2]"},
    {"HashComment", "# x\n{}"},
    {"TrailingCommaInArray", "[1,]"},
    {"TrailingCommaInObject", R"({"a":1,})"},
    {"OnlyACommaInArray", "[,]"},
    {"OnlyACommaInObject", "{,}"},
    {"LeadingCommaInArray", "[,1]"},
    {"LeadingCommaInObject", R"({,"a":1})"},
    {"DoubledCommaInArray", "[1,,2]"},
    {"DoubledCommaInObject", R"({"a":1,,"b":2})"},
    {"MissingCommaInArray", "[1 2]"},
    {"MissingCommaInObject", R"({"a":1 "b":2})"},
    {"SemicolonInArray", "[1;2]"},
    {"MissingColon", R"({"a" 1})"},
    {"DoubledColon", R"({"a"::1})"},
    {"CommaForColon", R"({"a",1})"},
    {"MissingValue", R"({"a":})"},
    {"MissingValueBeforeComma", R"({"a":,"b":1})"},
    {"KeyAlone", R"({"a"})"},
    {"BareKey", "{a:1}"},
    {"SingleQuotes", "{'a':1}"},
    {"NumberAsKey", "{1:1}"},
    {"NullAsKey", "{null:1}"},
    {"ColonInArray", R"(["a":1])"},
    {"OpenArray", "["},
    {"OpenArrayAfterElement", "[1"},
    {"OpenArrayAfterComma", "[1,"},
    {"OpenObject", "{"},
    {"OpenObjectAfterKey", R"({"a")"},
    {"OpenObjectAfterColon", R"({"a":)"},
    {"OpenObjectAfterValue", R"({"a":1)"},
    {"OpenObjectAfterComma", R"({"a":1,)"},
    {"ClosedWithoutOpening", "]"},
    {"ArrayClosedAsObject", "[1}"},
    {"ObjectClosedAsArray", R"({"a":1])"},
    {"ClosedTwice", "[]]"},
    {"TooDeepArray", repeated("[", 513) + repeated("]", 513)},
    {"TooDeepObject", repeated("{\"a\":", 512) + "{}" + repeated("}", 512)},
    {"AMillionOpenArrays", std::string(1'000'000, '[')},
    {"AMillionOpenObjects", repeated("{\"a\":", 1'000'000)},
    {"Utf16", {"{\0}\0", 4}},
};

const Text malformedWords[] = {
    {"HalfTrue", "tru"},
    {"HalfFalse", "fals"},
    {"HalfNull", "nul"},
    {"LongerTrue", "truee"},
    {"LongerNull", "nullx"},
    {"CapitalTrue", "True"},
    {"CapitalInside", "nUll"},
    {"Undefined", "undefined"},
    {"NaN", "NaN"},
    {"Infinity", "Infinity"},
    {"MinusInfinity", "-Infinity"},
};

const Text malformedNumbers[] = {
    {"Plus", "+1"},
    {"MinusAlone", "-"},
    {"DoubledMinus", "--1"},
    {"LeadingZero", "01"},
    {"LeadingZeroBelowZero", "-01"},
    {"DoubledZero", "00"},
    {"PointFirst", ".5"},
    {"PointFirstBelowZero", "-.5"},
    {"PointLast", "1."},
    {"PointBeforeExponent", "1.e5"},
    {"TwoPoints", "1.2.3"},
    {"ExponentAlone", "1e"},
    {"ExponentSignAlone", "1e+"},
    {"ExponentWithPoint", "1e1.5"},
    {"ExponentTwice", "1e1e1"},
    {"ExponentFirst", "e5"},
    {"Hexadecimal", "0x10"},
    {"Underscore", "1_000"},
    {"Suffix", "1f"},
    {"BlankInside", "1 000"},
    {"CommaInside", "- 1"},
    {"FullWidthDigit", "１"},
};

const Text malformedStrings[] = {
    {"Open", "\""},
    {"OpenAfterText", "\"abc"},
    {"OpenAfterLongText", "\"" + std::string(100, 'x')},
    {"OpenAfterReverseSolidus", "\"\\"},
    {"OpenAfterEscapedQuotationMark", "\"\\\""},
    {"UnknownEscape", R"("\q")"},
    {"CapitalEscape", R"("\N")"},
    {"HexEscape", R"("\x41")"},
    {"NulEscape", R"("\0")"},
    {"SingleQuoteEscape", R"("\'")"},
    {"CapitalUnicodeEscape", R"("\U0041")"},
    {"EscapedLineBreak", "\"\\\n\""},
    {"ShortUnicodeEscape", R"("\u041")"},
    {"NoHexDigits", R"("\u")"},
    {"BadHexDigit", R"("\u00G0")"},
    {"SignInHexDigits", R"("\u+041")"},
    {"BracesInHexDigits", R"("\u{41}")"},
    {"LoneHighSurrogate", R"("\ud800")"},
    {"LoneHighSurrogateBeforeText", R"("\ud800x")"},
    {"LoneHighSurrogateBeforeEscape", R"("\ud800\n")"},
    {"HighSurrogateTwice", R"("\ud800\ud800")"},
    {"HighSurrogateBeforeOrdinary", R"("\udbff\u0041")"},
    {"HighSurrogateBeforeHalfAnEscape", R"("\ud800\udc0")"},
    {"LoneLowSurrogate", R"("\udc00")"},
    {"SwappedSurrogates", R"("\udc00\ud800")"},
    {"RawTab", "\"\t\""},
    {"RawLineBreak", "\"a\nb\""},
    {"RawNul", {"\"\0\"", 3}},
    {"RawUnitSeparator", "\"\x1F\""},
    {"ContinuationAlone", inQuotes("\x80")},
    {"HighestContinuationAlone", inQuotes("\xBF")},
    {"ByteFe", inQuotes("\xFE")},
    {"ByteFf", inQuotes("\xFF")},
    {"OverlongOfTwo", inQuotes("\xC0\x80")},
    {"OverlongSolidus", inQuotes("\xC0\xAF")},
    {"HighestOverlongOfTwo", inQuotes("\xC1\xBF")},
    {"OverlongOfThree", inQuotes("\xE0\x80\x80")},
    {"HighestOverlongOfThree", inQuotes("\xE0\x9F\xBF")},
    {"OverlongOfFour", inQuotes("\xF0\x80\x80\x80")},
    {"HighestOverlongOfFour", inQuotes("\xF0\x8F\xBF\xBF")},
    {"LowestEncodedSurrogate", inQuotes("\xED\xA0\x80")},
    {"HighestEncodedSurrogate", inQuotes("\xED\xBF\xBF")},
    {"JustBeyondUnicode", inQuotes("\xF4\x90\x80\x80")},
    {"FarBeyondUnicode", inQuotes("\xF5\x80\x80\x80")},
    {"FiveBytes", inQuotes("\xF8\x88\x80\x80\x80")},
    {"TruncatedTwo", inQuotes("\xC3")},
    {"TruncatedThree", inQuotes("\xE2\x82")},
    {"TruncatedFour", inQuotes("\xF0\x9F\x98")},
    {"TruncatedBeforeText", inQuotes("\xE2\x82x")},
    {"TruncatedAtTheEnd", "\"\xF0\x9F\x98"},
    {"BadSecondByte", inQuotes("\xE2\x41\x80")},
    {"BadThirdByte", inQuotes("\xE2\x82\x41")},
    {"BadFourthByte", inQuotes("\xF0\x9F\x98\x41")},
    {"Latin1", inQuotes("caf\xE9")},
    {"RawControlInKey", "{\"a\tb\":1}"},
    {"IllFormedBytesInKey", "{\"\xFF\":1}"},
    {"BadEscapeInKey", R"({"\q":1})"},
};

INSTANTIATE_TEST_SUITE_P(Structure,
                         MalformedTexts,
                         testing::ValuesIn(malformedStructures),
                         caseName<Text>);
INSTANTIATE_TEST_SUITE_P(Words, MalformedTexts, testing::ValuesIn(malformedWords), caseName<Text>);
INSTANTIATE_TEST_SUITE_P(Numbers,
                         MalformedTexts,
                         testing::ValuesIn(malformedNumbers),
                         caseName<Text>);
INSTANTIATE_TEST_SUITE_P(Strings,
                         MalformedTexts,
                         testing::ValuesIn(malformedStrings),
                         caseName<Text>);

TEST(Json, IsRefusedWhereverItIsCut) {
    const std::string text =
        R"({"a":[1.5e3,"b\u00e9\ud83d\ude00é😀",true,false,null],"c":{"d":-1}})";
    ASSERT_NO_THROW(pass(text));
    for (std::size_t length = 0; length < text.size(); ++length) {
        withExactCopy(text.substr(0, length), [](std::string_view cut) {
            EXPECT_THROW(pass(cut), PlatformError) << cut;
            EXPECT_THROW(static_cast<void>(JsonValue::parse(cut)), PlatformError) << cut;
        });
    }
}

// --- What an error says
// -----------------------------------------------------------------------------

struct Fault {
    const char* name;
    std::string text;
    std::string sentence;
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << testing::PrintToString(fault.text.substr(0, 100));
}

class Faults : public testing::TestWithParam<Fault> {};

template <typename Read>
std::string sentenceOf(const Read& read) {
    try {
        read();
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "NSCocoaErrorDomain");
        EXPECT_EQ(error.code(), 3840);
        return error.localizedDescription();
    }
    return "(no error)";
}

TEST_P(Faults, AreNamedWithTheirPlace) {
    const std::string& text = GetParam().text;
    EXPECT_EQ(sentenceOf([&] { pass(text); }), GetParam().sentence);
    EXPECT_EQ(sentenceOf([&] { static_cast<void>(JsonValue::parse(text)); }), GetParam().sentence);
}

std::string at(int line, int column, int byte, std::string_view cause) {
    return "The JSON text is not valid at line " + std::to_string(line) + ", column " +
           std::to_string(column) + " (byte " + std::to_string(byte) + "): " + std::string(cause) +
           ".";
}

const Fault faults[] = {
    {"Empty", "", at(1, 1, 0, "the text is empty")},
    {"OnlyBlanks", "\n ", at(2, 2, 2, "the text is empty")},
    {"UnknownStart", "<html>", at(1, 1, 0, "“<” does not begin a value")},
    {"UnknownByte", "\xFE\xFF", at(1, 1, 0, "byte 0xFE does not begin a value")},
    {"MissingComma", "{\"a\":1\n \"b\":2}", at(2, 2, 8, "a comma or “}” is missing")},
    {"MissingCommaInArray", "[1 2]", at(1, 4, 3, "a comma or “]” is missing")},
    {"MissingColon", R"({"a" 1})", at(1, 6, 5, "a colon after a key is missing")},
    {"MissingKey", "{1:2}", at(1, 2, 1, "a key or “}” is missing")},
    {"TrailingCommaInObject", R"({"a":1,})", at(1, 8, 7, "a key after a comma is missing")},
    {"TrailingCommaInArray", "[1,]", at(1, 4, 3, "an element after a comma is missing")},
    {"MissingValue", R"({"a":})", at(1, 6, 5, "a value is missing")},
    {"EndBeforeValue", R"({"a":)", at(1, 6, 5, "the text ends where a value must stand")},
    {"EndInArray", "[1", at(1, 3, 2, "a comma or “]” is missing")},
    {"SomethingAfterTheValue",
     "{}\r\n\r\n x",
     at(3, 2, 7, "“x” stands after the end of the value")},
    {"NulAfterTheValue", {"{}\0", 3}, at(1, 3, 2, "byte 0x00 stands after the end of the value")},
    {"Word", "[nulL]", at(1, 5, 4, "a word is not true, false or null")},
    {"LeadingZero", "[012]", at(1, 3, 2, "a number has a zero in front of its digits")},
    {"DigitMissing", "[-x]", at(1, 3, 2, "a digit is missing in a number")},
    {"DigitMissingAfterPoint", "[1.]", at(1, 4, 3, "a digit is missing in a number")},
    {"OpenString", "[\"abc", at(1, 6, 5, "the text ends inside a string")},
    {"ControlCharacter",
     "[\"ab\tc\"]",
     at(1, 5, 4, "a control character in a string must be escaped")},
    {"UnknownEscape", R"(["ab\q"])", at(1, 5, 4, "this escape is unknown")},
    {"HexDigits", R"(["\u00G0"])", at(1, 3, 2, "four hexadecimal digits must follow \\u")},
    {"HighSurrogate", R"(["\ud800"])", at(1, 3, 2, "half of a surrogate pair stands alone")},
    {"LowSurrogate", R"(["é\udc00"])", at(1, 5, 4, "half of a surrogate pair stands alone")},
    {"IllFormedBytes", "[\"abc\xE2\x82\"]", at(1, 6, 5, "these bytes are not UTF-8")},
    {"TooDeep",
     repeated("[\n", 513),
     at(513, 1, 1024, "more than 512 objects and arrays are nested")},
    {"AfterAByteOrderMark", "\xEF\xBB\xBF{1}", at(1, 5, 4, "a key or “}” is missing")},
};

INSTANTIATE_TEST_SUITE_P(Json, Faults, testing::ValuesIn(faults), caseName<Fault>);

TEST(Json, GivesTheCauseOfAFaultWithoutItsPlaceToo) {
    try {
        pass("[1 2]");
        FAIL() << "no error";
    } catch (const PlatformError& error) {
        const ErrorValue* cause = error.object()->userInfo.find(errorKey::debugDescription);
        ASSERT_NE(cause, nullptr);
        EXPECT_EQ(std::get<std::string>(*cause), "a comma or “]” is missing");
    }
}

TEST(Json, KeepsTheTextOutOfTheError) {
    const std::string sentence = sentenceOf([] { pass(R"({"password":"secret" x})"); });
    EXPECT_THAT(sentence, testing::Not(testing::HasSubstr("secret")));
    EXPECT_THAT(sentence, testing::HasSubstr("line 1, column 22 (byte 21)"));
}

}  // namespace
}  // namespace kelto
