#include <cstdlib>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Utf8Scan.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string repeated(std::string_view text, std::size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (std::size_t index = 0; index < times; ++index) result += text;
    return result;
}

/// Marks whose classes fall and rise again: the worst order for a sort that moves one at a time.
std::string letterWithMarks(std::size_t count) {
    return "a" + repeated("\u0301", count / 2) + repeated("\u0323", count - count / 2);
}

struct TextCase {
    std::string_view name;
    std::string_view text;
    std::string_view expected;
};

void PrintTo(const TextCase& textCase, std::ostream* out) {
    *out << testing::PrintToString(textCase.text);
}

// --- UTF-8

class Utf8Repair : public testing::TestWithParam<TextCase> {};

TEST_P(Utf8Repair, ReplacesEachMaximalIllFormedPart) {
    EXPECT_EQ(repairedUtf8(GetParam().text), GetParam().expected);
}

TEST_P(Utf8Repair, ReplacesItBetweenOtherTextsToo) {
    // A text of its own length in front moves the case over every offset of an eight-byte step.
    for (std::size_t length = 0; length < 17; ++length) {
        const std::string before(length, 'x');
        const std::string text = before + std::string(GetParam().text) + "é tail";
        EXPECT_EQ(repairedUtf8(text), before + std::string(GetParam().expected) + "é tail");
    }
}

TEST_P(Utf8Repair, IsNeededExactlyWhenTheTextIsIllFormed) {
    EXPECT_EQ(isWellFormedUtf8(GetParam().text), GetParam().text == GetParam().expected);
}

TEST_P(Utf8Repair, IsNeededExactlyWhenALongTextIsIllFormedAnywhere) {
    // Long texts are looked at in blocks of up to 64 bytes; every offset of one, and its end.
    const bool isSound = GetParam().text == GetParam().expected;
    for (std::size_t length = 128; length < 128 + 65; ++length) {
        const std::string before(length, 'x');
        EXPECT_EQ(isWellFormedUtf8(before + std::string(GetParam().text)), isSound);
        EXPECT_EQ(isWellFormedUtf8(before + std::string(GetParam().text) + before), isSound);
        EXPECT_EQ(isWellFormedUtf8(std::string(GetParam().text) + before), isSound);
    }
}

TEST_P(Utf8Repair, IsDoneByTheOtherFunctionsFirst) {
    const std::string_view text = GetParam().text;
    const std::string repaired = repairedUtf8(text);
    EXPECT_EQ(upperCased(text), upperCased(repaired));
    EXPECT_EQ(lowerCased(text), lowerCased(repaired));
    EXPECT_EQ(canonicalComposition(text), canonicalComposition(repaired));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(text, repaired));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(repaired, text));
}

TEST_P(Utf8Repair, IsNotNeededToCountCharacters) {
    for (std::size_t count = 0; count < 6; ++count) {
        EXPECT_EQ(repairedUtf8(graphemePrefix(GetParam().text, count)),
                  graphemePrefix(repairedUtf8(GetParam().text), count));
    }
}

constexpr TextCase repairCases[] = {
    {"Empty", "", ""},
    {"Ascii", "abc", "abc"},
    {"NulIsKept", "a\0b"sv, "a\0b"sv},
    {"ByteOrderMarkIsKept", "\uFEFFa", "\uFEFFa"},
    {"AllLengths", "a\u00E9\u65E5\U0001F600", "a\u00E9\u65E5\U0001F600"},
    {"FirstOfEachLength", "\u0080\u0800\U00010000", "\u0080\u0800\U00010000"},
    {"LastOfEachLength", "\u007F\u07FF\uFFFF\U0010FFFF", "\u007F\u07FF\uFFFF\U0010FFFF"},
    {"AroundTheSurrogates", "\xED\x9F\xBF\uE000", "\xED\x9F\xBF\uE000"},
    {"NoLead", "\xFF", "\uFFFD"},
    {"OverlongOfTwo", "\xC0\x80", "\uFFFD\uFFFD"},
    {"OverlongOfThree", "\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},
    {"Surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
    {"OverlongOfFour", "\xF0\x80\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"AboveTheLastCharacter", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"LeadAboveTheLast", "\xF5\x80\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"TwoOfThree", "\xE2\x82", "\uFFFD"},
    {"ThreeOfFour", "\xF0\x9F\x98", "\uFFFD"},
    {"OneOfTwo", "\xC3", "\uFFFD"},
    {"TwoOfThreeBeforeALetter", "\xE2\x82\x41", "\uFFFDA"},
    {"ThreeOfFourBeforeALead", "\xF0\x9F\x98\xC3\xA9", "\uFFFD\u00E9"},
    {"LoneContinuations", "\x80\xBF", "\uFFFD\uFFFD"},
};

INSTANTIATE_TEST_SUITE_P(Text, Utf8Repair, testing::ValuesIn(repairCases), caseName<TextCase>);

TEST(Text, FindsTheFirstByteThatIsNotAsciiAtEveryOffset) {
    for (std::size_t length = 0; length < 40; ++length) {
        std::string text(40, 'x');
        text[length] = '\x80';
        EXPECT_EQ(asciiLength(text), length);
    }
    EXPECT_EQ(asciiLength(std::string(40, '\x7F')), 40U);
}

TEST(Text, RepairsMegabytesOfIllFormedBytes) {
    const std::size_t length = 4'000'000;
    EXPECT_EQ(repairedUtf8(std::string(length, '\xFF')), repeated("\uFFFD", length));
}

// --- Letter case

class UpperCased : public testing::TestWithParam<TextCase> {};

TEST_P(UpperCased, MapsFullyAndWithoutALocale) {
    EXPECT_EQ(upperCased(GetParam().text), GetParam().expected);
}

constexpr TextCase upperCases[] = {
    {"Empty", "", ""},
    {"Ascii", "az AZ 09 `{@[", "AZ AZ 09 `{@["},
    {"Nul", "a\0b"sv, "A\0B"sv},
    {"SharpS", "ß", "SS"},
    {"ApostropheN", "ŉ", "ʼN"},
    {"JWithCaron", "ǰ", "J\u030C"},
    {"Ligature", "ﬁ", "FI"},
    {"IotaWithDialytikaAndTonos", "ΐ", "Ι\u0308\u0301"},
    {"AlphaWithIotaBelow", "ᾳ", "ΑΙ"},
    {"DotlessI", "ı", "I"},
    {"IIsNotTurkish", "i é", "I É"},
    {"FinalSigma", "ς", "Σ"},
    {"Georgian", "ა", "Ა"},
    {"Digraph", "ǆ", "Ǆ"},
    {"TitleCasedDigraph", "ǅ", "Ǆ"},
};

INSTANTIATE_TEST_SUITE_P(Text, UpperCased, testing::ValuesIn(upperCases), caseName<TextCase>);

class LowerCased : public testing::TestWithParam<TextCase> {};

TEST_P(LowerCased, MapsFullyAndWithoutALocaleOrAPlace) {
    EXPECT_EQ(lowerCased(GetParam().text), GetParam().expected);
}

constexpr TextCase lowerCases[] = {
    {"Ascii", "az AZ 09 `{@[", "az az 09 `{@["},
    {"DottedI", "İ", "i\u0307"},
    {"FinalSigmaIsAPlainOne", "ΟΔΟΣ", "οδοσ"},
    {"SigmaInside", "ΣΑΣ ΣΑ", "σασ σα"},
    {"IIsNotTurkish", "I É", "i é"},
};

INSTANTIATE_TEST_SUITE_P(Text, LowerCased, testing::ValuesIn(lowerCases), caseName<TextCase>);

// --- Canonical composition

class CanonicallyComposed : public testing::TestWithParam<TextCase> {};

TEST_P(CanonicallyComposed, IsOneFormForEquivalentTexts) {
    EXPECT_EQ(canonicalComposition(GetParam().text), GetParam().expected);
}

constexpr TextCase compositionCases[] = {
    {"Ascii", "abc", "abc"},
    {"LetterAndMark", "e\u0301", "é"},
    {"AngstromSign", "\u212B", "Å"},
    {"ConjoiningJamo", "\u1112\u1161\u11AB", "한"},
    {"ReorderedMarks", "q\u0307\u0323", "q\u0323\u0307"},
    {"LigatureIsKept", "ﬁ", "ﬁ"},
    {"Nul", "e\u0301\0e\u0301"sv, "é\0é"sv},
    {"ComposedStays", "é", "é"},
};

INSTANTIATE_TEST_SUITE_P(Text,
                         CanonicallyComposed,
                         testing::ValuesIn(compositionCases),
                         caseName<TextCase>);

TEST(Text, ComposesALetterUnderManyMarks) {
    // Two marks combine with the letter, the others stand in the order of their classes.
    const std::string composed = canonicalComposition(letterWithMarks(100'000));
    EXPECT_EQ(composed, "\u1EA1" + repeated("\u0323", 49'999) + repeated("\u0301", 50'000));
}

TEST(Text, ComposesManyMarksThatAreTwoMarksThemselves) {
    // U+0F73 is U+0F71 (class 129) with U+0F72 (class 130), although its own class is 0.
    const std::string composed = canonicalComposition("\u0F40" + repeated("\u0F73", 50'000));
    EXPECT_EQ(composed, "\u0F40" + repeated("\u0F71", 50'000) + repeated("\u0F72", 50'000));
}

TEST(Text, ComposesFewAndManyMarksAlike) {
    for (const std::size_t count : {2U, 62U, 63U, 64U, 65U, 200U}) {
        const std::string composed = canonicalComposition("ü" + letterWithMarks(count) + "e\u0301");
        EXPECT_EQ(composed,
                  "ü\u1EA1" + repeated("\u0323", count - count / 2 - 1) +
                      (count == 2 ? "\u0301" : repeated("\u0301", count / 2)) + "é");
    }
}

// --- Order

struct OrderCase {
    std::string_view name;
    std::string_view left;
    std::string_view right;
};

void PrintTo(const OrderCase& orderCase, std::ostream* out) {
    *out << testing::PrintToString(orderCase.left) << " and "
         << testing::PrintToString(orderCase.right);
}

class OrderedBefore : public testing::TestWithParam<OrderCase> {};

TEST_P(OrderedBefore, HoldsInOneDirectionOnly) {
    EXPECT_TRUE(orderedBeforeCaseInsensitively(GetParam().left, GetParam().right));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(GetParam().right, GetParam().left));
}

constexpr OrderCase orderCases[] = {
    {"Letters", "a", "b"},
    {"LettersWhateverTheCase", "a", "B"},
    {"CapitalsDoNotComeFirst", "a", "Z"},
    {"AccentsCount", "e", "é"},
    {"AccentsCountLast", "éa", "eb"},
    {"LetterBehindAnAccent", "é", "f"},
    {"DigitsCompareAsCharacters", "a10", "a2"},
    {"DigitsBeforeLetters", "9", "a"},
    {"BlankCounts", "a b", "ab"},
    {"ShorterFirst", "a", "aa"},
    {"EmptyFirst", "", "a"},
};

INSTANTIATE_TEST_SUITE_P(Text,
                         OrderedBefore,
                         testing::ValuesIn(orderCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

class OrderedAlike : public testing::TestWithParam<OrderCase> {};

TEST_P(OrderedAlike, HoldsInNeitherDirection) {
    EXPECT_FALSE(orderedBeforeCaseInsensitively(GetParam().left, GetParam().right));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(GetParam().right, GetParam().left));
}

constexpr OrderCase alikeCases[] = {
    {"Same", "a", "a"},
    {"LetterCase", "a", "A"},
    {"LetterCaseWithAccent", "é", "É"},
    {"SharpSAndDoubleS", "ß", "ss"},
    {"SharpSInAWord", "Straße", "STRASSE"},
    {"CapitalSharpS", "STRAẞE", "straße"},
    {"FullWidthLetter", "ａ", "a"},
    {"CanonicalForm", "é", "e\u0301"},
    {"OrderOfMarks", "q\u0307\u0323", "q\u0323\u0307"},
    {"NulIsIgnored", "a\0b"sv, "ab"sv},
    {"Empty", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Text, OrderedAlike, testing::ValuesIn(alikeCases), [](const auto& tested) {
    return std::string(tested.param.name);
});

TEST(Text, OrdersALetterUnderManyMarks) {
    const std::string many = letterWithMarks(100'000);
    EXPECT_TRUE(orderedBeforeCaseInsensitively("a", many));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(many, "a"));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(many, canonicalComposition(many)));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(canonicalComposition(many), many));
}

TEST(Text, OrdersMegabytes) {
    const std::string most = repeated("日本é", 500'000);
    EXPECT_TRUE(orderedBeforeCaseInsensitively(most + "a", most + "B"));
    EXPECT_FALSE(orderedBeforeCaseInsensitively(most + "a", most + "A"));
}

TEST(Text, OrdersInManyThreadsAtOnce) {
    std::vector<int> mistakes(4);
    std::vector<std::thread> threads;
    threads.reserve(mistakes.size());
    for (int& count : mistakes) {
        threads.emplace_back([&count] {
            for (int round = 0; round < 1000; ++round) {
                if (!orderedBeforeCaseInsensitively("e", "É")) ++count;
                if (graphemePrefix("e\u0301e", 1) != "e\u0301") ++count;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mistakes, std::vector<int>(4));
}

struct LocaleCase {
    std::string_view name;
    const char* all;
    const char* collate;
    const char* lang;
    bool isSwedish;
};

void PrintTo(const LocaleCase& localeCase, std::ostream* out) {
    *out << localeCase.name;
}

class OrderOfTheLocale : public testing::TestWithParam<LocaleCase> {};

/// Ends this process: 7 when ä comes behind z, as Swedish has it, else 8.
[[noreturn]] void exitWithOrderIn(const LocaleCase& localeCase) {
    setenv("LC_ALL", localeCase.all, 1);
    setenv("LC_COLLATE", localeCase.collate, 1);
    setenv("LANG", localeCase.lang, 1);
    std::_Exit(orderedBeforeCaseInsensitively("z", "ä") ? 7 : 8);
}

// The locale is read once, so each case needs a process that has not compared yet.
TEST_P(OrderOfTheLocale, IsThatOfTheFirstVariableThatIsSet) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        exitWithOrderIn(GetParam()), testing::ExitedWithCode(GetParam().isSwedish ? 7 : 8), "");
}

constexpr LocaleCase localeCases[] = {
    {"NoneIsTheRoot", "", "", "", false},
    {"Lang", "", "", "sv_SE.UTF-8", true},
    {"CollateBeforeLang", "", "de_DE.UTF-8", "sv_SE.UTF-8", false},
    {"AllBeforeCollate", "sv_SE", "de_DE.UTF-8", "de_DE.UTF-8", true},
    {"C", "C", "", "sv_SE.UTF-8", false},
    {"CWithEncoding", "C.UTF-8", "", "sv_SE.UTF-8", false},
    {"Posix", "POSIX", "sv_SE.UTF-8", "", false},
    {"UnknownIsTheRoot", "nosuchlocale_XX.UTF-8@none", "", "sv_SE", false},
};

INSTANTIATE_TEST_SUITE_P(Text,
                         OrderOfTheLocale,
                         testing::ValuesIn(localeCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

// --- Characters and lines

class FirstCharacter : public testing::TestWithParam<TextCase> {};

TEST_P(FirstCharacter, IsWhatAPersonCallsOne) {
    EXPECT_EQ(graphemePrefix(GetParam().text, 1), GetParam().expected);
}

constexpr TextCase firstCharacters[] = {
    {"Empty", "", ""},
    {"Letter", "ab", "a"},
    {"LetterUnderAMark", "e\u0301x", "e\u0301"},
    {"CrLf", "\r\nx", "\r\n"},
    {"CrAlone", "\rx", "\r"},
    {"LfCr", "\n\r", "\n"},
    {"NewlineTakesNoMark", "\n\u0301", "\n"},
    {"Nul", "\0x"sv, "\0"sv},
    {"Family", "👨‍👩‍👧‍👦x", "👨‍👩‍👧‍👦"},
    {"Flag", "🇩🇪🇫🇷", "🇩🇪"},
    {"SkinTone", "👍🏽x", "👍🏽"},
    {"Hangul", "\u1112\u1161\u11ABx", "\u1112\u1161\u11AB"},
    {"IndicConjunct", "क्षिx", "क्षि"},
    {"IllFormed", "\xE2\x82\x41", "\xE2\x82"},
};

INSTANTIATE_TEST_SUITE_P(Text,
                         FirstCharacter,
                         testing::ValuesIn(firstCharacters),
                         caseName<TextCase>);

TEST(Text, CutsEightyFamiliesAsEightyCharacters) {
    const std::string family = "👨‍👩‍👧‍👦";
    EXPECT_EQ(graphemePrefix(repeated(family, 200), 80), repeated(family, 80));
}

TEST(Text, CutsAsciiAtTheByte) {
    EXPECT_EQ(graphemePrefix(std::string(200, 'x'), 80), std::string(80, 'x'));
}

TEST(Text, KeepsAMarkBehindTheLastAsciiCharacter) {
    const std::string text = std::string(80, 'x') + "\u0301y";
    EXPECT_EQ(graphemePrefix(text, 80), std::string(80, 'x') + "\u0301");
}

TEST(Text, CutsNothingFromAShorterText) {
    EXPECT_EQ(graphemePrefix("abc", 3), "abc");
    EXPECT_EQ(graphemePrefix("abc", 80), "abc");
    EXPECT_EQ(graphemePrefix("äöü", std::numeric_limits<std::size_t>::max()), "äöü");
    EXPECT_EQ(graphemePrefix("abc", std::numeric_limits<std::size_t>::max()), "abc");
}

TEST(Text, CutsToNothing) {
    EXPECT_EQ(graphemePrefix("äöü", 0), "");
}

TEST(Text, CutsALetterUnderManyMarksAsOneCharacter) {
    const std::string many = letterWithMarks(100'000);
    EXPECT_EQ(graphemePrefix(many + "b", 1), many);
}

TEST(Text, CutsMegabytes) {
    const std::string text = repeated("é", 4'000'000);
    EXPECT_EQ(graphemePrefix(text, 80), repeated("é", 80));
    EXPECT_EQ(graphemePrefix(std::string(4'000'000, '\xFF'), 2), "\xFF\xFF");
}

TEST(Text, CutsAViewIntoTheText) {
    const std::string_view text = "äöü";
    EXPECT_EQ(graphemePrefix(text, 2).data(), text.data());
}

class FirstLine : public testing::TestWithParam<TextCase> {};

TEST_P(FirstLine, IsTheFirstThatIsNotEmpty) {
    EXPECT_EQ(firstNonEmptyLine(GetParam().text), GetParam().expected);
}

constexpr TextCase firstLines[] = {
    {"Empty", "", ""},
    {"OneLine", "ab", "ab"},
    {"Lf", "a\nb", "a"},
    {"Vt", "a\vb", "a"},
    {"Ff", "a\fb", "a"},
    {"Cr", "a\rb", "a"},
    {"CrLf", "\r\na\r\nb", "a"},
    {"NextLine", "\u0085a\u0085b", "a"},
    {"LineSeparator", "\u2028a\u2028b", "a"},
    {"ParagraphSeparator", "\u2029a\u2029b", "a"},
    {"EmptyLinesAreSkipped", "\n\n  word\nsecond", "  word"},
    {"BlanksAreALine", "\n \nx", " "},
    {"OnlyBreaks", "\n\r\n\u2028", ""},
    {"NoBreaks", "a\tb\u200B\u00A0\u2027\u202F\u0084", "a\tb\u200B\u00A0\u2027\u202F\u0084"},
    {"NulIsNoBreak", "\0a\nb"sv, "\0a"sv},
    {"BreakBehindIllFormedBytes", "\xE2\x80\xC2\u0085x", "\xE2\x80\xC2"},
};

INSTANTIATE_TEST_SUITE_P(Text, FirstLine, testing::ValuesIn(firstLines), caseName<TextCase>);

TEST(Text, FindsTheLineBehindMegabytesOfBreaks) {
    EXPECT_EQ(firstNonEmptyLine(repeated("\r\n", 2'000'000) + "x"), "x");
}

// --- Replacement

TEST(Text, ReplacesEveryOccurrenceFromTheLeft) {
    EXPECT_EQ(replacingAll("www.www.example", "www.", ""), "example");
    EXPECT_EQ(replacingAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replacingAll("a-b-", "-", "--"), "a--b--");
    EXPECT_EQ(replacingAll("abc", "x", "y"), "abc");
    EXPECT_EQ(replacingAll("", "x", "y"), "");
}

TEST(Text, DoesNotReplaceWhatAReplacementForms) {
    EXPECT_EQ(replacingAll("wwwww..", "www.", ""), "ww.");
}

TEST(Text, EndsTheProcessWhenNothingIsToBeReplaced) {
    EXPECT_DEATH(replacingAll("abc", "", "x").clear(), "nothing cannot be replaced");
}

}  // namespace
}  // namespace kelto
