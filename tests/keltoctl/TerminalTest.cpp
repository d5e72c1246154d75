#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/Progress.hpp"
#include "tools/keltoctl/Terminal.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingDocument.hpp"
#include "tools/keltoctl/TreePrinter.hpp"

namespace kelto::ctl {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

Snapshot summerLibrary() {
    return Snapshot::parse(R"({"records":[
        {"recordType":"Project","uuid":"aaaaaaaa-1","name":"Photos of a long and eventful summer"},
        {"recordType":"Tag","uuid":"t","name":"a tag that is not short"},
        {"recordType":"Thing","uuid":"bbbbbbbb-1","kind":"image","title":"日本語の長い題名です、本当に長い題名",
         "fileName":"a.png","fileSize":1500,"data":"/d","project":"aaaaaaaa-1","tags":["t"],
         "isStarred":true},
        {"recordType":"Thing","uuid":"cccccccc-1","kind":"note",
         "title":"A title that is far longer than most terminals of the last forty years were wide, really"},
        {"recordType":"Thing","uuid":"dddddddd-1","kind":"note","title":"👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦👩‍👩‍👧‍👦"}]})");
}

TEST(TerminalText, CountsAFamilyAFlagAndAnAccentOnce) {
    EXPECT_EQ(displayWidth("👩‍👩‍👧‍👦"), 2U);
    EXPECT_EQ(displayWidth("🇩🇪"), 2U);
    EXPECT_EQ(displayWidth("1️⃣"), 2U);
    EXPECT_EQ(displayWidth("e\u0301\u0323"), 1U);
}

TEST(TerminalText, CutsBetweenUserPerceivedCharacters) {
    EXPECT_EQ(cutTo("👩‍👩‍👧‍👦🇩🇪ab", 5),
              "👩‍👩‍👧‍👦🇩🇪…");
    EXPECT_EQ(cutTo("👩‍👩‍👧‍👦🇩🇪ab", 4), "👩‍👩‍👧‍👦…");
    EXPECT_EQ(cutTo("e\u0301e\u0301e\u0301", 2), "e\u0301…");
    EXPECT_EQ(cutTo("日本", 1), "…");
    EXPECT_EQ(cutTo("ab", 0), "");
}

TEST(TerminalText, WrapsAtBlanksAndElseWhereTheLineIsFull) {
    EXPECT_EQ(wrapped("one two three", 8), (std::vector<std::string>{"one two", "three"}));
    EXPECT_EQ(wrapped("one two", 7), (std::vector<std::string>{"one two"}));
    EXPECT_EQ(wrapped("abcdef", 4), (std::vector<std::string>{"abcd", "ef"}));
    EXPECT_EQ(wrapped("日本語", 3), (std::vector<std::string>{"日", "本", "語"}));
    EXPECT_EQ(wrapped("日", 1), (std::vector<std::string>{"日"})) << "it would never end";
    EXPECT_EQ(wrapped("", 5), (std::vector<std::string>{""}));
}

class EveryWidth : public testing::TestWithParam<std::size_t> {};

TEST_P(EveryWidth, HoldsEveryLineOfATreeAndAList) {
    const Snapshot snapshot = summerLibrary();
    const Appearance appearance{.width = GetParam()};
    std::vector<const ThingRecord*> things;
    for (const ThingRecord& thing : snapshot.things()) things.push_back(&thing);
    const std::string tree = printedTree(snapshot, appearance);
    // Behind the empty line stand the totals: sentences, which the terminal breaks.
    for (const std::string& line : linesOf(tree.substr(0, tree.find("\n\n")))) {
        EXPECT_LE(displayWidth(line), GetParam()) << line;
    }
    for (const std::string& line : linesOf(printedList(snapshot, things, appearance))) {
        EXPECT_LE(displayWidth(line), GetParam()) << line;
    }
}
INSTANTIATE_TEST_SUITE_P(Terminal, EveryWidth, testing::Range<std::size_t>(1, 130, 3));

TEST(TreePrinter, CutsTitlesBeforeIdentifiersAndTags) {
    const std::vector<std::string> lines = linesOf(printedTree(summerLibrary(), {.width = 64}));
    EXPECT_NE(lines.at(2).find("bbbbbbbb"), std::string::npos) << lines.at(2);
    EXPECT_NE(lines.at(2).find("#a tag that"), std::string::npos) << lines.at(2);
    EXPECT_NE(lines.at(4).find("…"), std::string::npos) << lines.at(4);
}

TEST(TreePrinter, LeavesTagsOutBeforeTitlesBecomeTooShort) {
    const std::string tree = printedTree(summerLibrary(), {.width = 48});
    EXPECT_EQ(tree.find("#a"), std::string::npos) << tree;
    EXPECT_NE(tree.find("日本語の長い"), std::string::npos) << tree;
}

TEST(TreePrinter, ShowsTheBeginningOfTitlesOnTheNarrowestTerminal) {
    const Snapshot snapshot = summerLibrary();
    const std::vector<const ThingRecord*> things{snapshot.findThing("cccccccc-1"),
                                                 snapshot.findThing("bbbbbbbb-1")};
    const std::string narrow = printedList(snapshot, things, {.width = 20});
    EXPECT_NE(narrow.find("A title"), std::string::npos) << narrow;
    const std::string wider = printedList(snapshot, things, {.width = 36});
    EXPECT_NE(wider.find("cccccccc"), std::string::npos) << wider;
    EXPECT_EQ(wider.find("1.5 kB"), std::string::npos) << wider;
}

TEST(TreePrinter, CutsNothingWhereLinesMayBeOfAnyLength) {
    const std::string tree = printedTree(summerLibrary(), {});
    EXPECT_NE(tree.find("forty years were wide, really"), std::string::npos);
    EXPECT_EQ(tree.find("…"), std::string::npos);
}

TEST(TreePrinter, HasColoursOnlyWhenWanted) {
    EXPECT_EQ(printedTree(summerLibrary(), {}).find('\x1b'), std::string::npos);
    const std::string tree = printedTree(summerLibrary(), {.isColoured = true});
    EXPECT_NE(tree.find("\x1b[36m#a tag that is not short\x1b[0m"), std::string::npos) << tree;
}

TEST(PrintedItem, WrapsValuesToTheWidth) {
    const Snapshot snapshot = summerLibrary();
    const std::string text = printedItem(snapshot, snapshot.item("cccccccc"), {.width = 40});
    EXPECT_EQ(text.substr(0, text.find("Kind")),
              "Title        A title that is far longer\n"
              "             than most terminals of the\n"
              "             last forty years were wide,\n"
              "             really\n");
}

TEST(PrintedItem, ShowsTheTabsAndLineBreaksOfOtherSystems) {
    const Snapshot snapshot = Snapshot::parse(R"({"records":[{"recordType":"Thing","uuid":"a",
        "kind":"note","title":"t","content":"one\r\n\ttwo\rthree"}]})");
    const std::string text = printedItem(snapshot, snapshot.item("a"), {});
    EXPECT_NE(text.find("Content      one\n                 two?three\n"), std::string::npos)
        << text;
}

class Environment : public testing::Test {
protected:
    ~Environment() override {
        for (const char* name : {"COLUMNS", "NO_COLOR", "TERM"}) ::unsetenv(name);
    }
};

// The standard output of a test is no terminal.
TEST_F(Environment, DecidesTheWidthWhereNoTerminalDoes) {
    ::unsetenv("COLUMNS");
    EXPECT_EQ(standardAppearance(ColourWish::automatic).width, std::nullopt);
    ::setenv("COLUMNS", "72", 1);
    EXPECT_EQ(standardAppearance(ColourWish::automatic).width, 72U);
    for (const char* nonsense : {"", "0", "-3", "12x", "99999999999999999999"}) {
        ::setenv("COLUMNS", nonsense, 1);
        EXPECT_EQ(standardAppearance(ColourWish::automatic).width, std::nullopt) << nonsense;
    }
}

TEST_F(Environment, GivesNoColoursToWhatIsNoTerminalUnlessTheyAreWished) {
    EXPECT_FALSE(standardAppearance(ColourWish::automatic).isColoured);
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_TRUE(standardAppearance(ColourWish::always).isColoured);
    EXPECT_FALSE(standardAppearance(ColourWish::never).isColoured);
}

TEST(Moment, IsWrittenInIsoForPrograms) {
    EXPECT_EQ(isoTime(0), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(isoTime(1'714'575'800'042), "2024-05-01T15:03:20.042Z");
    EXPECT_EQ(isoTime(-1), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(isoTime(253'402'300'800'000), "") << "the year 10000";
    EXPECT_EQ(isoTime(INT64_MIN), "");
}

TEST(Moment, IsShortForPeople) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    EXPECT_EQ(localTime(1'714'575'800'042), "2024-05-01 15:03");
}

TEST(Duration, NamesItsTwoLargestUnits) {
    EXPECT_EQ(duration(0), "0 s");
    EXPECT_EQ(duration(1), "1 s");
    EXPECT_EQ(duration(4'000), "4 s");
    EXPECT_EQ(duration(182'000), "3 min 2 s");
    EXPECT_EQ(duration(7'200'000), "2 h");
    EXPECT_EQ(duration(7'205'000), "2 h");
    EXPECT_EQ(duration(435'600'000), "5 days 1 h");
    EXPECT_EQ(duration(86'400'000), "1 day");
}

TEST(Progress, SaysHowFastItGoesAndWhatIsLeft) {
    EXPECT_EQ(progressText("Reading", {3, 7, 200ms}), "Reading 3 of 7 files");
    EXPECT_EQ(progressText("Reading", {30, 90, 2s}),
              "Reading 30 of 90 files, 15 a second, 4 s left");
    EXPECT_EQ(progressText("Reading", {1, 3, 60s}), "Reading 1 of 3 files, 2 min left");
    EXPECT_EQ(progressText("Reading", {0, 3, 60s}), "Reading 0 of 3 files");
    EXPECT_EQ(byteProgressText("Checking", {50'000'000, 150'000'000, 1s}),
              "Checking 50 MB of 150 MB, 50 MB a second, 2 s left");
}

TEST(Progress, IsNotConfusedByMoreThanThereWasToBe) {
    EXPECT_EQ(byteProgressText("Writing", {2'000'000, 1'000'000, 1s}),
              "Writing 2.0 MB of 1.0 MB, 2.0 MB a second, 0 s left");
}

}  // namespace
}  // namespace kelto::ctl
