#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kelto/foundation/FilePath.hpp"

namespace kelto {
namespace {

using namespace std::string_view_literals;

struct PathCase {
    std::string_view name;
    std::string_view path;
    std::string_view extension;
    std::string_view without;
};

void PrintTo(const PathCase& pathCase, std::ostream* out) {
    *out << '"' << pathCase.path << '"';
}

class FilePathExtension : public testing::TestWithParam<PathCase> {};

TEST_P(FilePathExtension, IsCutAtTheLastDotOfTheLastComponent) {
    EXPECT_EQ(pathExtension(GetParam().path), GetParam().extension);
}

TEST_P(FilePathExtension, IsAllThatLeavesThePathWithoutIt) {
    EXPECT_EQ(withoutPathExtension(GetParam().path), GetParam().without);
}

constexpr PathCase pathCases[] = {
    {"OneDot", "a.b", "b", "a"},
    {"TwoDotsCutAtTheLast", "a.b.c", "c", "a.b"},
    {"NoDot", "a", "", "a"},
    {"HiddenFileHasNone", ".hidden", "", ".hidden"},
    {"HiddenFileWithExtension", ".hidden.txt", "txt", ".hidden"},
    {"FinalDotIsNoExtensionAndStays", "a.", "", "a."},
    {"TwoDotsInARow", "a..b", "b", "a."},
    {"TrailingSlashDoesNotCountAndGoesWithTheExtension", "a.b/", "b", "a"},
    {"TrailingSlashStaysWithoutExtension", "a/", "", "a/"},
    {"DotInTheFolderOnly", "dir.x/file", "", "dir.x/file"},
    {"DotInFolderAndFile", "/dir.x/file.y", "y", "/dir.x/file"},
    {"Empty", "", "", ""},
    {"Root", "/", "", "/"},
    {"TwoSlashes", "//", "", "//"},
    {"BlankBehindTheDotIsNoExtensionAndStays", "a. b", "", "a. b"},
    {"BlankInTheExtensionIsNoExtensionAndStays", "a.b c", "", "a.b c"},
    {"BlankInTheStemIsFine", "my file.txt", "txt", "my file"},
    {"ParentFolder", "..", "", ".."},
    {"ThreeDots", "...", "", "..."},
    {"CurrentFolder", ".", "", "."},
    {"StemOfOneDotIsNoStem", "..a", "", "..a"},
    {"StemOfTwoDotsIsNoStem", "...a", "", "...a"},
    {"StemOfThreeDotsIsAStem", "....a", "a", "..."},
    {"AccentedLetter", "a.é", "é", "a"},
    {"OtherScript", "日本.日本", "日本", "日本"},
    // NOLINTBEGIN(misc-misleading-bidirectional): these marks are what is looked for
    {"ArabicLetterMark", "a.b\u061C", "", "a.b\u061C"},
    {"LeftToRightMark", "a.\u200Eb", "", "a.\u200Eb"},
    {"RightToLeftMark", "a.\u200Fb", "", "a.\u200Fb"},
    {"FirstEmbedding", "a.b\u202Ac", "", "a.b\u202Ac"},
    {"RightToLeftOverride", "a.b\u202Ec", "", "a.b\u202Ec"},
    {"FirstIsolate", "a.b\u2066c", "", "a.b\u2066c"},
    {"LastIsolate", "a.b\u2069c", "", "a.b\u2069c"},
    {"NeighboursOfTheMarksAreFine",
     "a.\u200D\u2029\u202F\u2065\u206A",
     "\u200D\u2029\u202F\u2065\u206A",
     "a"},
    {"MarkInTheStemIsFine", "a\u202E.b", "b", "a\u202E"},
    // NOLINTEND(misc-misleading-bidirectional)
    {"EmbeddedNulIsAnOrdinaryByte", "a\0.b\0c"sv, "b\0c"sv, "a\0"sv},
    {"IllFormedBytesAreKept", "\xFF.\xE2\x80", "\xE2\x80", "\xFF"},
};

INSTANTIATE_TEST_SUITE_P(FilePath,
                         FilePathExtension,
                         testing::ValuesIn(pathCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(FilePath, HasNoLimitOnTheLengthOfAnExtension) {
    const std::string extension(300, 'x');
    EXPECT_EQ(pathExtension("a." + extension), extension);
    EXPECT_EQ(withoutPathExtension("a." + extension), "a");
}

TEST(FilePath, CutsMegabytesOfDotsAndSlashes) {
    const std::string dots(4'000'000, '.');
    EXPECT_EQ(pathExtension(dots), "");
    const std::string slashes(4'000'000, '/');
    EXPECT_EQ(lastPathComponent(slashes), "/");
    EXPECT_EQ(standardizedPath(slashes), "/");
}

struct ComponentCase {
    std::string_view name;
    std::string_view path;
    std::string_view last;
    std::string_view without;
};

void PrintTo(const ComponentCase& componentCase, std::ostream* out) {
    *out << '"' << componentCase.path << '"';
}

class FilePathComponent : public testing::TestWithParam<ComponentCase> {};

TEST_P(FilePathComponent, IsTheTextBehindTheLastSlashThatCounts) {
    EXPECT_EQ(lastPathComponent(GetParam().path), GetParam().last);
}

TEST_P(FilePathComponent, LeavesTheFolderWithoutItsSlash) {
    EXPECT_EQ(withoutLastPathComponent(GetParam().path), GetParam().without);
}

constexpr ComponentCase componentCases[] = {
    {"Name", "a.b", "a.b", ""},
    {"OneLetter", "a", "a", ""},
    {"Absolute", "/a/b", "b", "/a"},
    {"BelowTheRoot", "/a", "a", "/"},
    {"Root", "/", "/", "/"},
    {"TwoSlashesAreTheRoot", "//", "/", "/"},
    {"Empty", "", "", ""},
    {"Relative", "a/b", "b", "a"},
    {"TrailingSlash", "a/b/", "b", "a"},
    {"TrailingSlashes", "/a//", "a", "/"},
    {"SlashesBetween", "a//b", "b", "a"},
    {"SlashesInFront", "//a", "a", "/"},
    {"ParentFolderIsAName", "a/..", "..", "a"},
};

INSTANTIATE_TEST_SUITE_P(FilePath,
                         FilePathComponent,
                         testing::ValuesIn(componentCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

struct PairCase {
    std::string_view name;
    std::string_view first;
    std::string_view second;
    std::string_view expected;
};

void PrintTo(const PairCase& pairCase, std::ostream* out) {
    *out << '"' << pairCase.first << "\" and \"" << pairCase.second << '"';
}

class FilePathJoined : public testing::TestWithParam<PairCase> {};

TEST_P(FilePathJoined, HasExactlyOneSlashAtTheJoint) {
    EXPECT_EQ(joinedPath(GetParam().first, GetParam().second), GetParam().expected);
}

constexpr PairCase joinedCases[] = {
    {"NoSlash", "a", "b", "a/b"},
    {"SlashOnTheLeft", "a/", "b", "a/b"},
    {"SlashOnTheRight", "a", "/b", "a/b"},
    {"SlashOnBothSides", "a/", "/b", "a/b"},
    {"ManySlashes", "a//", "//b", "a/b"},
    {"Root", "/", "b", "/b"},
    {"RootAndSlash", "/", "/b", "/b"},
    {"EmptyFolderAddsNothing", "", "b", "b"},
    {"EmptyNameAddsNothing", "a", "", "a"},
    {"ParentFolderIsKept", "/a", "../b", "/a/../b"},
    {"NameOfTwoComponents", "/a", "b/c/", "/a/b/c/"},
};

INSTANTIATE_TEST_SUITE_P(FilePath,
                         FilePathJoined,
                         testing::ValuesIn(joinedCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

class FilePathStandardized : public testing::TestWithParam<PairCase> {};

TEST_P(FilePathStandardized, IsAbsoluteAndWithoutDetours) {
    EXPECT_EQ(standardizedPath(GetParam().first, GetParam().second), GetParam().expected);
}

constexpr PairCase standardizedCases[] = {
    {"CurrentFolder", "/a/./b", "/", "/a/b"},
    {"ParentFolderDropsTheFinalSlash", "/a/b/..", "/", "/a"},
    {"ParentOfTheRootVanishes", "/../b", "/", "/b"},
    {"SlashesAreCompressed", "/a//b", "/", "/a/b"},
    {"ParentBehindTwoSlashes", "/a/b//../c", "/", "/a/c"},
    {"FinalSlash", "/a/b/", "/", "/a/b"},
    {"Root", "/", "/", "/"},
    {"NothingLeft", "/a/..", "/", "/"},
    {"RelativeToTheRoot", "a/../b", "/", "/b"},
    {"RelativeToABase", "x", "/base/dir", "/base/dir/x"},
    {"RelativeToABaseWithSlash", "x", "/base/dir/", "/base/dir/x"},
    {"ParentOfTheBase", "../a", "/base/dir", "/base/a"},
    {"ParentBeyondTheBase", "../../../a", "/base/dir", "/a"},
    {"BaseIsStandardizedToo", "x", "/base/./dir/../", "/base/x"},
    {"AbsoluteIgnoresTheBase", "/x", "/base", "/x"},
    {"EmptyIsTheBase", "", "/base/", "/base"},
    {"ThreeDotsAreAName", "/a/.../b", "/", "/a/.../b"},
    {"TildeIsAName", "~/a", "/base", "/base/~/a"},
};

INSTANTIATE_TEST_SUITE_P(FilePath,
                         FilePathStandardized,
                         testing::ValuesIn(standardizedCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace kelto
