#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/keltoctl/RecordsTest.hpp"
#include "tools/keltoctl/Exporter.hpp"
#include "tools/keltoctl/SafeFileName.hpp"

namespace kelto::ctl {
namespace {

struct FileName {
    const char* name;
    std::string given;
    std::string safe;
};

const FileName fileNames[] = {
    {"Ordinary", "photo été 日本.jpg", "photo été 日本.jpg"},
    {"Empty", "", "unnamed"},
    {"Dot", ".", "unnamed"},
    {"DotDot", "..", "unnamed"},
    {"Climbing", "../../etc/passwd", "..-..-etc-passwd"},
    {"Absolute", "/etc/passwd", "-etc-passwd"},
    {"Nul", std::string("a\0b", 3), "a-b"},
    {"LineBreak", "two\nlines\x1B", "two lines "},
    {"BrokenUtf8", "a\xFF", "a\uFFFD"},
    {"Long", std::string(300, 'x') + ".jpg", std::string(236, 'x') + ".jpg"},
    {"LongNote", std::string(300, 'x') + ".note.md", std::string(232, 'x') + ".note.md"},
    {"LongWithoutExtension", "a." + std::string(300, 'x'), "a." + std::string(238, 'x')},
};

class SafeFileName : public testing::TestWithParam<FileName> {};

TEST_P(SafeFileName, IsAsExpected) {
    EXPECT_EQ(safeFileName(GetParam().given), GetParam().safe);
}

INSTANTIATE_TEST_SUITE_P(Names, SafeFileName, testing::ValuesIn(fileNames), [](const auto& test) {
    return std::string(test.param.name);
});

TEST(SafeFileName, IsNotCutWithinACharacter) {
    std::string family;
    for (int at = 0; at < 40; ++at) family += "👩‍👧";
    const std::string safe = safeFileName(family);
    EXPECT_LE(safe.size(), 240U);
    EXPECT_EQ(safe.size() % std::string("👩‍👧").size(), 0U);
}

TEST(NumberedFileName, PutsTheNumberBeforeTheExtension) {
    EXPECT_EQ(numberedFileName("a.b.jpg", 1), "a.b.jpg");
    EXPECT_EQ(numberedFileName("a.b.jpg", 2), "a.b (2).jpg");
    EXPECT_EQ(numberedFileName("Checklist", 3), "Checklist (3)");
}

TEST(NumberedFileName, LeavesWhatImportKnowsNotesAndQuotesBy) {
    EXPECT_EQ(numberedFileName("Plan.note.md", 2), "Plan (2).note.md");
    EXPECT_EQ(numberedFileName("Rain.Quote.txt", 2), "Rain (2).Quote.txt");
    EXPECT_EQ(numberedFileName(".note.md", 2), ".note (2).md");
}

class ExporterTest : public RecordsTest {
protected:
    ThingRecord& addFile(const std::string& fileName, const std::string& bytes) {
        ThingRecord& thing = add("document", "");
        thing.fileName = fileName;
        thing.data = files.write("received/" + thing.id, bytes);
        return thing;
    }
    void addProject(const std::string& id, const std::string& name) {
        projects.push_back({.id = id, .name = name, .linkedFolderOwner = "", .parent = {}});
    }

    ExportReport run() { return exportLibrary(snapshot(), files.path("out")); }

    /// Every file and folder of the target, relative to it.
    [[nodiscard]] std::vector<std::string> written() const {
        std::vector<std::string> names;
        const std::filesystem::path target = files.path("out");
        for (const auto& entry : std::filesystem::recursive_directory_iterator(target))
            names.push_back(entry.path().lexically_relative(target));
        return names;
    }
};

TEST_F(ExporterTest, WritesFilesIntoTheFoldersOfTheirProjects) {
    addProject("p", "Photos");
    addFile("a.jpg", "A").project = "p";
    addFile("b.jpg", "B");
    const ExportReport report = run();
    EXPECT_EQ(report.files, 2U);
    EXPECT_EQ(report.folders, 1U);
    EXPECT_EQ(files.read("out/Photos/a.jpg"), "A");
    EXPECT_EQ(files.read("out/b.jpg"), "B");
}

TEST_F(ExporterTest, WritesTextsAsImportReadsThem) {
    add("note", "Groceries").content = "bread\n";
    ThingRecord& quote = add("quote", "Rain");
    quote.content = "wet";
    quote.metadataJson = R"({"author":"A gardener"})";
    add("link", "Site").urlString = "https://a.example\n[Other]";
    run();
    EXPECT_EQ(files.read("out/Groceries.note.md"), "bread\n");
    EXPECT_EQ(files.read("out/Rain.quote.txt"), "wet\n— A gardener\n");
    EXPECT_EQ(files.read("out/Site.url"), "[InternetShortcut]\r\nURL=https://a.example[Other]\r\n");
}

TEST_F(ExporterTest, NumbersANameThatIsTaken) {
    addFile("a.jpg", "new");
    addFile("a.jpg", "newer");
    files.write("out/a.jpg", "old");
    run();
    EXPECT_EQ(files.read("out/a.jpg"), "old");
    EXPECT_THAT(written(), testing::UnorderedElementsAre("a.jpg", "a (2).jpg", "a (3).jpg"));
}

TEST_F(ExporterTest, WritesNoAuthorWhereThereIsNone) {
    ThingRecord& quote = add("quote", "Rain");
    quote.content = "wet";
    quote.metadataJson = R"({"author":""})";
    run();
    EXPECT_EQ(files.read("out/Rain.quote.txt"), "wet\n");
}

TEST_F(ExporterTest, LeavesNoPartOfAFileThatCannotBeReadToItsEnd) {
    addFile("a.jpg", "A");
    things.back().data = files.path("received");  // a folder: it opens, and cannot be read
    const ExportReport report = run();
    EXPECT_EQ(report.files, 0U);
    EXPECT_THAT(report.problems, testing::ElementsAre(testing::HasSubstr("received")));
    EXPECT_THAT(written(), testing::IsEmpty());
}

TEST_F(ExporterTest, KeepsProjectsOfTheSameNameApart) {
    addProject("p", "Same");
    addProject("q", "Same");
    run();
    EXPECT_THAT(written(), testing::UnorderedElementsAre("Same", "Same (2)"));
}

TEST_F(ExporterTest, LeavesNoNameALeadOutOfTheFolder) {
    addProject("p", "..");
    addFile("../../climbed.txt", "x").project = "p";
    run();
    EXPECT_THAT(written(), testing::UnorderedElementsAre("unnamed", "unnamed/..-..-climbed.txt"));
}

TEST_F(ExporterTest, EntersNoLinkThatLiesInTheFolderAlready) {
    std::filesystem::create_directories(files.path("elsewhere"));
    std::filesystem::create_directories(files.path("out"));
    std::filesystem::create_directory_symlink(files.path("elsewhere"), files.path("out/Photos"));
    std::filesystem::create_symlink(files.path("elsewhere/new"), files.path("out/b.txt"));
    addProject("p", "Photos");
    addFile("a.txt", "A").project = "p";
    addFile("b.txt", "B");
    run();
    EXPECT_TRUE(std::filesystem::is_empty(files.path("elsewhere")));
    EXPECT_EQ(files.read("out/Photos (2)/a.txt"), "A");
    EXPECT_EQ(files.read("out/b (2).txt"), "B");
}

TEST_F(ExporterTest, LeavesTheTrashBehind) {
    addFile("a.jpg", "A").trashedAt = 1;
    EXPECT_EQ(run().files, 0U);
}

TEST_F(ExporterTest, NamesAThingWhoseFileIsNotThere) {
    add("image", "Lost picture");
    const ExportReport report = run();
    ASSERT_EQ(report.problems.size(), 1U);
    EXPECT_THAT(report.problems[0], testing::HasSubstr("Lost picture"));
}

TEST_F(ExporterTest, GivesTheFileTheThingsTime) {
    addFile("a.jpg", "A").updatedAt = 1'700'000'000'123;
    run();
    const auto time =
        std::chrono::file_clock::to_sys(std::filesystem::last_write_time(files.path("out/a.jpg")));
    EXPECT_EQ(std::chrono::floor<std::chrono::milliseconds>(time).time_since_epoch().count(),
              1'700'000'000'123);
}

}  // namespace
}  // namespace kelto::ctl
