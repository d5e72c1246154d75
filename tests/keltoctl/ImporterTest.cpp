#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/keltoctl/FakeLibrary.hpp"
#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/Importer.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {
namespace {

using std::filesystem::file_time_type;

class ImporterTest : public testing::Test {
protected:
    ImportReport import(const std::string& folder) {
        options.folder = files.path(folder);
        session.refresh();
        return importFolder(session, options);
    }

    [[nodiscard]] const ThingRecord* find(std::string_view title) const {
        for (const ThingRecord& thing : session.snapshot().things())
            if (thing.title == title) return &thing;
        return nullptr;
    }

    /// As if the file had been written `minutes` later than it was.
    void age(std::string_view name, int minutes) const {
        const auto path = files.path(name);
        std::filesystem::last_write_time(
            path, std::filesystem::last_write_time(path) + std::chrono::minutes(minutes));
    }

    [[nodiscard]] std::vector<std::string> sentTypes() const {
        std::vector<std::string> types;
        for (const JsonValue& record : library.lastRecords())
            types.push_back(textOf(record, "recordType"));
        return types;
    }

    [[nodiscard]] std::vector<std::string> incomingFiles() const {
        std::vector<std::string> names;
        for (const auto& entry :
             std::filesystem::directory_iterator(state.exchangeFolder() + "/incoming"))
            names.push_back(entry.path().filename());
        return names;
    }

    TemporaryFolder files;
    TemporaryFolder stateFolder;
    FakeLibrary library;
    HostState state{stateFolder.path(), "/store"};
    Session session{library, state, "/store"};
    ImportOptions options;
};

TEST_F(ImporterTest, MakesProjectsOfFoldersAndThingsOfFiles) {
    files.write("box/one.txt", "1");
    files.write("box/deep/er/two.png", "2");
    const ImportReport report = import("box");
    EXPECT_EQ(report.added, 2U);
    EXPECT_EQ(session.snapshot().projects().size(), 3U);
    ASSERT_NE(find("two"), nullptr);
    EXPECT_EQ(session.snapshot().projectPath(*find("two")->project), "box / deep / er");
}

TEST_F(ImporterTest, SendsTheBytesTheTimeAndTheName) {
    files.write("box/été.png", "bytes");
    import("box");
    const ThingRecord* thing = find("été");
    ASSERT_NE(thing, nullptr);
    EXPECT_EQ(thing->fileName, "été.png");
    EXPECT_EQ(thing->fileSize, 5);
    EXPECT_EQ(library.payloads.at(thing->id + ".data"), "bytes");
    const auto written = std::chrono::file_clock::to_sys(
        std::filesystem::last_write_time(files.path("box/été.png")));
    EXPECT_EQ(thing->updatedAt,
              std::chrono::floor<std::chrono::milliseconds>(written).time_since_epoch().count());
    EXPECT_EQ(thing->createdAt, thing->updatedAt);
}

TEST_F(ImporterTest, HandsFilesOverInsideTheExchangeFolderAndCleansUp) {
    files.write("box/a.txt", "1");
    import("box");
    EXPECT_THAT(textOf(library.lastRecords().back(), "data"),
                testing::StartsWith(state.exchangeFolder() + "/"));
    EXPECT_THAT(incomingFiles(), testing::IsEmpty());
}

TEST_F(ImporterTest, PassesOverDotfilesAndSymbolicLinks) {
    files.write("outside/secret.txt", "x");
    files.write("box/.hidden", "x");
    files.write("box/a.txt", "x");
    std::filesystem::create_directory_symlink(files.path("outside"), files.path("box/way out"));
    std::filesystem::create_symlink(files.path("outside/secret.txt"), files.path("box/link.txt"));
    const ImportReport report = import("box");
    EXPECT_EQ(report.added, 1U);
    EXPECT_EQ(report.passedOver, 3U);
    EXPECT_THAT(report.problems, testing::IsEmpty());
}

TEST_F(ImporterTest, SendsNothingWhenNothingChanged) {
    files.write("box/a.txt", "1");
    import("box");
    const ImportReport second = import("box");
    EXPECT_EQ(second.unchanged, 1U);
    EXPECT_THAT(library.lastRecords(), testing::IsEmpty());
}

TEST_F(ImporterTest, SendsOnlyTheFileThatChanged) {
    files.write("box/a.txt", "1");
    files.write("box/b.txt", "2");
    import("box");
    files.write("box/a.txt", "changed");
    age("box/a.txt", 1);
    const ImportReport second = import("box");
    EXPECT_EQ(second.updated, 1U);
    EXPECT_THAT(sentTypes(), testing::ElementsAre("Thing"));
    EXPECT_EQ(library.payloads.at(find("a")->id + ".data"), "changed");
}

TEST_F(ImporterTest, DoesNotDoubleAFolderWhenTheHostForgotEverything) {
    files.write("box/a.txt", "1");
    import("box");
    const TemporaryFolder otherState;
    const HostState fresh(otherState.path(), "/store");
    Session other(library, fresh, "/store");
    other.refresh();
    (void)importFolder(other, options);
    EXPECT_EQ(other.snapshot().things().size(), 1U);
    EXPECT_EQ(other.snapshot().projects().size(), 1U);
}

TEST_F(ImporterTest, KeepsWhatTheUserChangedInTheLibrary) {
    files.write("box/a.txt", "1");
    import("box");
    ThingRecord thing = *find("a");
    thing.title = "My title";
    thing.note = "remark";
    thing.isStarred = true;
    session.send({toRecord(thing)});
    files.write("box/a.txt", "changed");
    age("box/a.txt", 1);
    import("box");
    const ThingRecord* changed = find("My title");
    ASSERT_NE(changed, nullptr);
    EXPECT_EQ(changed->note, "remark");
    EXPECT_TRUE(changed->isStarred);
    EXPECT_EQ(library.payloads.at(changed->id + ".data"), "changed");
}

TEST_F(ImporterTest, LetsANewerVersionInTheLibraryStand) {
    files.write("box/a.note.md", "old");
    import("box");
    ThingRecord thing = *find("a");
    thing.content = "edited in the library";
    thing.updatedAt += 3'600'000;
    session.send({toRecord(thing)});
    files.write("box/a.note.md", "edited on disk");
    age("box/a.note.md", 1);
    const ImportReport second = import("box");
    EXPECT_EQ(second.stood, 1U);
    EXPECT_EQ(second.updated, 0U);
    EXPECT_EQ(find("a")->content, "edited in the library");
}

TEST_F(ImporterTest, SendsAgainWhatARestoredLibraryHoldsInAnOlderVersion) {
    files.write("box/a.txt", "1");
    import("box");
    const FakeLibrary backup = library;
    files.write("box/a.txt", "2");
    age("box/a.txt", 1);
    import("box");
    library.things = backup.things;
    library.payloads = backup.payloads;
    EXPECT_EQ(import("box").updated, 1U);
    EXPECT_EQ(library.payloads.begin()->second, "2");
    EXPECT_EQ(import("box").unchanged, 1U);
}

TEST_F(ImporterTest, KeepsThingsWhoseFilesHaveGoneFromAnOrdinaryFolder) {
    files.write("box/a.txt", "1");
    files.write("box/b.txt", "2");
    import("box");
    std::filesystem::remove(files.path("box/a.txt"));
    EXPECT_EQ(import("box").deleted, 0U);
    EXPECT_NE(find("a"), nullptr);
}

TEST_F(ImporterTest, GivesEveryThingTheTagsThatWereNamed) {
    files.write("box/a.txt", "1");
    import("box");
    options.tags = {"Sea", "sea"};
    const ImportReport second = import("box");
    EXPECT_EQ(second.updated, 1U);
    EXPECT_EQ(session.snapshot().tags().size(), 1U);
    EXPECT_THAT(session.snapshot().tagNames(*find("a")), testing::ElementsAre("Sea"));
}

TEST_F(ImporterTest, NamesTheProjectAsAsked) {
    files.write("box/a.txt", "1");
    options.projectName = "Holiday";
    import("box");
    EXPECT_EQ(session.snapshot().projects().front().name, "Holiday");
    EXPECT_EQ(session.snapshot().projects().front().linkedFolderOwner, "");
}

TEST_F(ImporterTest, RefusesAFolderThatIsNotThere) {
    EXPECT_THROW(import("nowhere"), Refusal);
}

TEST_F(ImporterTest, NamesAFolderItCannotEnterAndImportsTheRest) {
    std::string deep = "box";
    for (int depth = 0; depth < 70; ++depth) deep += "/d";
    files.write(deep + "/lost.txt", "x");
    files.write("box/a.txt", "1");
    const ImportReport report = import("box");
    EXPECT_EQ(report.added, 1U);
    ASSERT_EQ(report.problems.size(), 1U);
    EXPECT_THAT(report.problems[0], testing::HasSubstr("/d/d/d"));
}

TEST_F(ImporterTest, RemembersNothingOfARefusedExchange) {
    files.write("box/a.txt", "1");
    session.refresh();
    options.folder = files.path("box");
    library.refusal = "The library sleeps.";
    EXPECT_THROW((void)importFolder(session, options), Refusal);
    EXPECT_THAT(incomingFiles(), testing::IsEmpty());
    library.refusal.clear();
    EXPECT_EQ(import("box").added, 1U);
}

class LinkedImport : public ImporterTest {
protected:
    LinkedImport() { options.link = true; }
};

TEST_F(LinkedImport, MarksTheProjectAndTheThingsPlaceInTheFolder) {
    files.write("box/in/a.txt", "1");
    const ImportReport report = import("box");
    EXPECT_EQ(session.snapshot().findProject(report.rootId)->linkedFolderOwner,
              "keltoctl-" + report.rootId);
    EXPECT_EQ(find("a")->metadataJson, R"({"linkedRelativePath":"in\/a.txt"})");
}

TEST_F(LinkedImport, SendsTheStateThatAChangedFileWasBasedOn) {
    files.write("box/a.txt", "1");
    import("box");
    const std::string base = find("a")->fileFingerprint;
    ThingRecord edited = *find("a");
    edited.title = "a, renamed in the library";
    session.send({toRecord(edited)});
    files.write("box/a.txt", "changed");
    import("box");
    EXPECT_EQ(textOf(library.lastRecords().front(), "baseFileFingerprint"), base);
}

TEST_F(LinkedImport, DeletesWhatHasGoneFromTheFolder) {
    files.write("box/a.txt", "1");
    files.write("box/in/b.txt", "2");
    import("box");
    std::filesystem::remove_all(files.path("box/in"));
    EXPECT_EQ(import("box").deleted, 2U);
    EXPECT_THAT(sentTypes(), testing::UnorderedElementsAre("Thing", "Project"));
    EXPECT_EQ(find("b"), nullptr);
    EXPECT_NE(find("a"), nullptr);
}

TEST_F(LinkedImport, DeletesNothingWhenTheWholeFolderLooksEmpty) {
    files.write("box/a.txt", "1");
    import("box");
    std::filesystem::remove(files.path("box/a.txt"));
    EXPECT_THROW(import("box"), Refusal);
    session.refresh();
    EXPECT_NE(find("a"), nullptr);
}

}  // namespace
}  // namespace kelto::ctl
