#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kelto/foundation/Text.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using namespace std::string_literals;

struct HostileText {
    std::string_view name;
    std::string text;
};

void PrintTo(const HostileText& hostile, std::ostream* out) {
    *out << hostile.text.size() << " bytes";
}

std::string manyLines() {
    std::string text;
    for (int i = 0; i < 1'000'000; ++i) text += "\r\n";
    return text + "end";
}

std::string manyMarks() {
    std::string text = "e";
    for (int i = 0; i < 500'000; ++i) text += "\u0301";
    return text;
}

const HostileText hostileTexts[] = {
    {"Nul", "\0"s},
    {"NulInside", "a\0b.c\0d"s},
    {"LoneByte", "\xff"},
    {"Truncated", "a.\xe2\x82"},
    {"Surrogate", "\xed\xa0\x80"},
    {"Overlong", "\xc0\xaf\xc0\xae"},
    {"DirectionMarks", "a\u202e.gpj\u2066.exe"},
    {"OnlySlashesAndDots", "/../..//./"},
    {"Megabytes", std::string(8'000'000, 'x')},
    {"MegabytesOfSlashes", std::string(4'000'000, '/')},
    {"MegabytesOfDots", std::string(4'000'000, '.')},
    {"MegabytesOfIllFormedBytes", std::string(2'000'000, '\x80')},
    {"ManyLines", manyLines()},
    {"OneCharacterOfManyMarks", manyMarks()},
};

class AnyText : public testing::TestWithParam<HostileText> {
protected:
    ModelWorld world;
};

TEST_P(AnyText, IsKeptUnchangedInEveryTextField) {
    const std::string& text = GetParam().text;
    Thing& thing = world.thing(ThingKind::note, text);
    thing.setKindRaw(text);
    thing.setFileName(text);
    thing.setMetadataJSON(text);
    EXPECT_EQ(thing.title(), text);
    EXPECT_EQ(thing.kindRaw(), text);
    EXPECT_EQ(thing.fileName(), text);
    EXPECT_EQ(thing.metadataJSON(), text);
    EXPECT_EQ(world.tag(text).name(), text);
    EXPECT_EQ(world.project(text).path(), text);
}

TEST_P(AnyText, ReadsAsNoteAndAsNoMetadata) {
    Thing& thing = world.thing(ThingKind::image);
    thing.setKindRaw(GetParam().text);
    thing.setMetadataJSON(GetParam().text);
    EXPECT_EQ(thing.kind(), ThingKind::note);
    EXPECT_EQ(thing.metadata(), ThingMetadata());
}

TEST_P(AnyText, GivesADisplayTitleThatIsPartOfTheContent) {
    Thing& thing = world.thing();
    thing.setContent(GetParam().text);
    const std::string title = thing.displayTitle();
    EXPECT_NE(title, "");
    EXPECT_NE(GetParam().text.find(title), std::string::npos);
}

TEST_P(AnyText, GivesAnExportFileNameWithoutSlash) {
    Thing& thing = world.thing(ThingKind::note, GetParam().text);
    const std::string name = thing.exportFileName();
    EXPECT_EQ(name.find('/'), std::string::npos);
    EXPECT_EQ(name.size(), GetParam().text.size() + 4);
}

TEST_P(AnyText, GivesABadgeFromAFileName) {
    Thing& thing = world.thing(ThingKind::document);
    thing.setFileName(GetParam().text);
    const std::string extension = thing.fileExtension();
    EXPECT_EQ(thing.badgeText(), extension.empty() ? "DOCUMENT" : upperCased(extension));
}

TEST_P(AnyText, SortsAsANameWithoutLosingAnything) {
    Thing& thing = world.thing();
    Tag& hostile = world.tag(GetParam().text);
    Tag& ordinary = world.tag("red");
    Tag& same = world.tag(GetParam().text);
    thing.setTags({&same, &ordinary, &hostile});
    const std::vector<Tag*> sorted = thing.tagList();
    ASSERT_EQ(sorted.size(), 3U);
    // The two equal names keep their stored order, wherever they stand.
    EXPECT_LT(std::find(sorted.begin(), sorted.end(), &same),
              std::find(sorted.begin(), sorted.end(), &hostile));
}

TEST_P(AnyText, ReadsBackFromMetadataAsItsRepairedForm) {
    Thing& thing = world.thing();
    thing.setMetadata({.author = GetParam().text});
    EXPECT_EQ(thing.metadata().author, repairedUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Hostile, AnyText, testing::ValuesIn(hostileTexts), [](const auto& tested) {
    return std::string(tested.param.name);
});

}  // namespace
}  // namespace kelto
