#include <gtest/gtest.h>

#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingTexts.hpp"
#include "tools/keltoctl/TreePrinter.hpp"

namespace kelto::ctl {
namespace {

TEST(TerminalText, ShowsWhatSteersTheTerminalAsQuestionMarks) {
    EXPECT_EQ(terminalSafe("a\x1B[31mb\a\n\tc\x7F"), "a?[31mb???c?");
    EXPECT_EQ(terminalSafe("a\u009Bb\u2028c\uFEFF"), "a?b?c?");
    // Put together here, so that this line reads the same in every editor: U+202E, right to left.
    EXPECT_EQ(terminalSafe(std::string("a\xE2\x80") + '\xAE' + "b"), "a?b");
    EXPECT_EQ(terminalSafe("a\xFF"), "a?");
}

TEST(TerminalText, EscapesInJsonWhatWouldSteerTheTerminal) {
    EXPECT_EQ(terminalSafeJson("[\"a\u009b31m\x7F\u0080\"]"), R"(["a\u009b31m\u007f\u0080"])");
    EXPECT_EQ(terminalSafeJson("[\"b\xFF\"]\n"), "[\"b\uFFFD\"]\n");
    EXPECT_EQ(terminalSafeJson("\xC2"), "\uFFFD");
    EXPECT_EQ(terminalSafeJson("é 日本\u00a0🛒"), "é 日本\u00a0🛒");
}

TEST(TerminalText, LeavesOtherScriptsAndEmojiAlone) {
    EXPECT_EQ(terminalSafe("été 日本 👩‍👧"), "été 日本 👩‍👧");
}

TEST(TerminalText, CountsColumnsAndNotBytes) {
    EXPECT_EQ(displayWidth("été"), 3U);
    EXPECT_EQ(displayWidth("e\u0301"), 1U);
    EXPECT_EQ(displayWidth("日本"), 4U);
    EXPECT_EQ(displayWidth("🛒"), 2U);
    EXPECT_EQ(displayWidth(""), 0U);
}

TEST(TerminalText, FillsOrCutsToTheWidth) {
    EXPECT_EQ(fitted("ab", 4), "ab  ");
    EXPECT_EQ(fitted("abcdef", 4), "abc…");
    EXPECT_EQ(fitted("日本語", 4), "日… ");
    EXPECT_EQ(fitted("abc", 0), "");
}

TEST(TerminalText, CountsBytesInDecimalUnits) {
    EXPECT_EQ(byteCount(0), "0 bytes");
    EXPECT_EQ(byteCount(1), "1 byte");
    EXPECT_EQ(byteCount(1234), "1.2 kB");
    EXPECT_EQ(byteCount(999'999), "1.0 MB");
    EXPECT_EQ(byteCount(25'000'000'000), "25 GB");
}

TEST(ThingTexts, TitleAThingWithoutTitleByWhatItHolds) {
    ThingRecord thing;
    thing.kind = "note";
    thing.content = "\n\n  a word\nmore";
    EXPECT_EQ(displayTitle(thing), "  a word");
    thing.content = "";
    EXPECT_EQ(displayTitle(thing), "Untitled Note");
    thing.kind = "github";
    EXPECT_EQ(displayTitle(thing), "Untitled Link");
    thing.kind = "video";
    EXPECT_EQ(displayTitle(thing), "Untitled Video");
}

TEST(ThingTexts, LabelAFileByItsExtension) {
    ThingRecord thing;
    thing.kind = "document";
    EXPECT_EQ(badgeText(thing), "DOCUMENT");
    thing.typeIdentifier = "public.png";
    EXPECT_EQ(badgeText(thing), "PNG");
    thing.fileName = "a.tar.gz";
    EXPECT_EQ(badgeText(thing), "GZ");
    thing.kind = "no such kind";
    EXPECT_EQ(badgeText(thing), "NOTE");
}

TEST(ThingTexts, ExportAThingWithoutFileNameUnderItsTitle) {
    ThingRecord thing;
    thing.kind = "note";
    thing.title = "and/or";
    EXPECT_EQ(exportFileName(thing), "and-or.bin");
}

TEST(TreePrinter, DrawsProjectsThingsTrashAndTotals) {
    const Snapshot library = Snapshot::parse(R"({"records":[
        {"recordType":"Project","uuid":"aaaaaaaa-1","name":"Photos"},
        {"recordType":"Tag","uuid":"t","name":"sea"},
        {"recordType":"Thing","uuid":"bbbbbbbb-1","kind":"image","title":"日本","fileName":"a.png",
         "fileSize":1500,"data":"/d","project":"aaaaaaaa-1","tags":["t"],"isStarred":true},
        {"recordType":"Thing","uuid":"cccccccc-1","kind":"note","title":"evil \u001b[2J"},
        {"recordType":"Thing","uuid":"dddddddd-1","kind":"note","title":"old","trashedAt":1}]})");
    EXPECT_EQ(printedTree(library, {}),
              "Library\n"
              "├── Photos  (1 thing)          aaaaaaaa\n"
              "│   └── PNG   ★ 日本   1.5 kB  bbbbbbbb  #sea\n"
              "└── NOTE  evil ?[2J            cccccccc\n"
              "Trash  (1 thing)\n"
              "└── NOTE  old                  dddddddd\n"
              "\n"
              "1 project, 1 tag, 3 things with 1.5 kB of files\n"
              "1 image, 2 notes\n");
}

}  // namespace
}  // namespace kelto::ctl
