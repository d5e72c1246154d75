#include <ostream>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/Thing.hpp"
#include "tests/model/ModelWorld.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

struct TextFields {
    std::string_view title{};
    std::string_view subtitle{};
    std::string content{};
    std::string_view urlString{};
    std::string_view fileName{};
    std::string_view typeIdentifier{};
};

Thing& thing(ModelWorld& world, std::string_view kindRaw, const TextFields& fields) {
    Thing& made = world.thing();
    made.setKindRaw(kindRaw);
    made.setTitle(fields.title);
    made.setSubtitle(fields.subtitle);
    made.setContent(fields.content);
    made.setUrlString(fields.urlString);
    made.setFileName(fields.fileName);
    made.setTypeIdentifier(fields.typeIdentifier);
    return made;
}

struct TextCase {
    std::string_view name;
    std::string_view kindRaw;
    TextFields fields;
    std::string expected;
};

void PrintTo(const TextCase& tested, std::ostream* out) {
    *out << tested.kindRaw;
}

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

// --- displayTitle

class DisplayTitle : public testing::TestWithParam<TextCase> {};

TEST_P(DisplayTitle, IsWhatAPersonSees) {
    ModelWorld world;
    EXPECT_EQ(thing(world, GetParam().kindRaw, GetParam().fields).displayTitle(),
              GetParam().expected);
}

const std::string family = "👨‍👩‍👧‍👦";

const TextCase displayTitles[] = {
    {"Title", "note", {.title = " T ", .content = "text"}, " T "},
    {"TitleOfAFile", "image", {.title = "T", .fileName = "a.png"}, "T"},

    {"Image", "image", {}, "Untitled Image"},
    {"Video", "video", {}, "Untitled Video"},
    {"Document", "document", {}, "Untitled Document"},
    {"FileName", "document", {.subtitle = "s", .urlString = "u", .fileName = "a/b.c"}, "a/b.c"},

    {"Link", "link", {}, "Untitled Link"},
    {"Repository", "github", {}, "Untitled Link"},
    {"Subtitle", "link", {.subtitle = "s", .urlString = "u"}, "s"},
    {"Address", "github", {.content = "c", .urlString = "u", .fileName = "f"}, "u"},

    {"Tweet", "tweet", {}, "Untitled Tweet"},
    {"Quote", "quote", {}, "Untitled Quote"},
    {"Note", "note", {.subtitle = "s", .urlString = "u", .fileName = "f"}, "Untitled Note"},
    {"UnknownKind", "podcast", {.fileName = "f"}, "Untitled Note"},
    {"OnlyLineBreaks", "quote", {.content = "\n\r\n\r\v\f\u0085\u2028\u2029"}, "Untitled Quote"},
    {"FirstLine", "note", {.content = "\n\n  word\nsecond"}, "  word"},
    {"LineOfBlanks", "note", {.content = "\n   \nword"}, "   "},
    {"BreakOfTwoCharacters", "tweet", {.content = "\r\nfirst\r\nsecond"}, "first"},
    {"CarriageReturn", "note", {.content = "first\rsecond"}, "first"},
    {"VerticalTab", "note", {.content = "first\vsecond"}, "first"},
    {"FormFeed", "note", {.content = "first\fsecond"}, "first"},
    {"NextLine", "note", {.content = "first\u0085second"}, "first"},
    {"LineSeparator", "note", {.content = "first\u2028second"}, "first"},
    {"ParagraphSeparator", "note", {.content = "first\u2029second"}, "first"},
    {"Tab", "note", {.content = "first\tsecond"}, "first\tsecond"},
    {"LongLine", "note", {.content = std::string(200, 'x')}, std::string(80, 'x')},
    {"Of80Characters", "note", {.content = repeated("é", 80) + "\nx"}, repeated("é", 80)},
    {"OfEmoji", "note", {.content = repeated(family, 81)}, repeated(family, 80)},
    {"OfCombiningMarks", "note", {.content = repeated("e\u0301", 81)}, repeated("e\u0301", 80)},
    {"LongTitle",
     "note",
     {.title = "a long title that nobody cuts: "
               "0123456789012345678901234567890123456789012345678901234567"},
     "a long title that nobody cuts: 0123456789012345678901234567890123456789012345678901234567"},
};

INSTANTIATE_TEST_SUITE_P(Things,
                         DisplayTitle,
                         testing::ValuesIn(displayTitles),
                         caseName<TextCase>);

// --- fileExtension

class FileExtension : public testing::TestWithParam<TextCase> {};

TEST_P(FileExtension, IsThatOfTheNameElseOfTheType) {
    ModelWorld world;
    EXPECT_EQ(thing(world, GetParam().kindRaw, GetParam().fields).fileExtension(),
              GetParam().expected);
}

const TextCase fileExtensions[] = {
    {"None", "document", {}, ""},
    {"OfTheName", "document", {.fileName = "a.tar.GZ", .typeIdentifier = "public.png"}, "GZ"},
    {"OfTheType", "image", {.typeIdentifier = "public.png"}, "png"},
    {"OfTheTypeWhenTheNameHasNone",
     "image",
     {.fileName = "a", .typeIdentifier = "public.png"},
     "png"},
    {"HiddenFile", "image", {.fileName = ".png"}, ""},
    {"FinalDot", "image", {.fileName = "a."}, ""},
    {"OfTheLastComponent", "image", {.fileName = "a.b/c"}, ""},
    {"AbstractType", "image", {.typeIdentifier = "public.image"}, ""},
    {"UnknownType", "image", {.typeIdentifier = "org.example.unknown"}, ""},
};

INSTANTIATE_TEST_SUITE_P(Things,
                         FileExtension,
                         testing::ValuesIn(fileExtensions),
                         caseName<TextCase>);

// --- badgeText

class BadgeText : public testing::TestWithParam<TextCase> {};

TEST_P(BadgeText, IsAShortUpperCaseLabel) {
    ModelWorld world;
    EXPECT_EQ(thing(world, GetParam().kindRaw, GetParam().fields).badgeText(), GetParam().expected);
}

const TextCase badges[] = {
    {"Link", "link", {.fileName = "a.txt"}, "URL"},
    {"Tweet", "tweet", {}, "TWEET"},
    {"Repository", "github", {}, "REPO"},
    {"Quote", "quote", {}, "QUOTE"},
    {"Note", "note", {}, "NOTE"},
    {"UnknownKind", "podcast", {.fileName = "a.mp3"}, "NOTE"},
    {"Image", "image", {}, "IMAGE"},
    {"Video", "video", {}, "VIDEO"},
    {"Document", "document", {}, "DOCUMENT"},
    {"Extension", "document", {.fileName = "Report.PDF"}, "PDF"},
    {"LowerCaseExtension", "image", {.fileName = "a.jpeg"}, "JPEG"},
    {"FullCaseMapping", "document", {.fileName = "a.straße"}, "STRASSE"},
    {"ExtensionOfTheType", "image", {.typeIdentifier = "public.png"}, "PNG"},
};

INSTANTIATE_TEST_SUITE_P(Things, BadgeText, testing::ValuesIn(badges), caseName<TextCase>);

// --- exportFileName

class ExportFileName : public testing::TestWithParam<TextCase> {};

TEST_P(ExportFileName, IsTheNameOfTheFileThatIsWrittenOut) {
    ModelWorld world;
    EXPECT_EQ(thing(world, GetParam().kindRaw, GetParam().fields).exportFileName(),
              GetParam().expected);
}

const TextCase exportFileNames[] = {
    {"FileName", "image", {.title = "T", .fileName = "a/b"}, "a/b"},
    {"Title", "note", {.title = "T"}, "T.bin"},
    {"TitleWithSlashes", "note", {.title = "a/b//c"}, "a-b--c.bin"},
    {"TitleThatHasAnExtension", "note", {.title = "a.txt"}, "a.txt.bin"},
    {"Nothing", "document", {}, "Untitled Document.bin"},
    {"Type", "image", {.title = "T", .typeIdentifier = "public.png"}, "T.png"},
    {"Address", "link", {.urlString = "https://a.b/c"}, "https:--a.b-c.bin"},
};

INSTANTIATE_TEST_SUITE_P(Things,
                         ExportFileName,
                         testing::ValuesIn(exportFileNames),
                         caseName<TextCase>);

// --- url and contentType

TEST(ThingUrl, IsNoneForAnEmptyAddress) {
    ModelWorld world;
    EXPECT_EQ(world.thing().url(), std::nullopt);
}

TEST(ThingUrl, IsNoneForAnAddressThatCannotBeRead) {
    ModelWorld world;
    EXPECT_EQ(thing(world, "link", {.urlString = "http://ho st/"}).url(), std::nullopt);
}

TEST(ThingUrl, IsTheAddress) {
    ModelWorld world;
    EXPECT_EQ(thing(world, "link", {.urlString = "https://example.org/a"}).url(),
              Url::parse("https://example.org/a"));
}

TEST(ThingContentType, IsNoneForAnEmptyIdentifier) {
    ModelWorld world;
    EXPECT_EQ(world.thing().contentType(), std::nullopt);
}

TEST(ThingContentType, IsTheTypeOfTheIdentifier) {
    ModelWorld world;
    EXPECT_EQ(thing(world, "image", {.typeIdentifier = "public.png"}).contentType(),
              ContentType::fromIdentifier("public.png"));
}

// --- tagList and searchableText

TEST(ThingTagList, IsSortedByNameLetterCaseAside) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& c = world.tag("c");
    Tag& b = world.tag("B");
    Tag& a = world.tag("a");
    thing.setTags({&c, &b, &a});
    EXPECT_THAT(thing.tagList(), ElementsAre(&a, &b, &c));
    EXPECT_THAT(thing.tags(), ElementsAre(&c, &b, &a));
}

TEST(ThingTagList, KeepsTheStoredOrderOfEqualNames) {
    ModelWorld world;
    Thing& thing = world.thing();
    Tag& lower = world.tag("red");
    Tag& upper = world.tag("RED");
    Tag& mixed = world.tag("Red");
    thing.setTags({&upper, &mixed, &lower});
    EXPECT_THAT(thing.tagList(), ElementsAre(&upper, &mixed, &lower));
}

TEST(ThingSearchableText, HoldsSixFieldsEmptyOnesIncluded) {
    ModelWorld world;
    EXPECT_EQ(world.thing().searchableText(), "\n\n\n\n\n");
}

TEST(ThingSearchableText, HoldsTheFieldsThenTheSortedTagsThenTheProject) {
    ModelWorld world;
    Thing& made = thing(world,
                        "link",
                        {.title = "Title",
                         .subtitle = "Sub",
                         .content = "Two\nlines",
                         .urlString = "https://a.b",
                         .fileName = "f.txt"});
    made.setNote("My note");
    made.setTags({&world.tag("blue"), &world.tag("Azure")});
    made.setProject(&world.project("Work"));
    EXPECT_EQ(made.searchableText(),
              "Title\nSub\nTwo\nlines\nMy note\nhttps://a.b\nf.txt\nAzure\nblue\nWork");
}

}  // namespace
}  // namespace kelto
