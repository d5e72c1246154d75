#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreInspection.hpp"
#include "tests/persistence/DamagedStore.hpp"
#include "tests/persistence/Format1.hpp"

namespace kelto {
namespace {

using Kind = StoreFinding::Kind;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class StoreInspectionTest : public DamagedStore {
protected:
    /// The one finding, which has to be of that kind.
    StoreFinding only(Kind kind) {
        const StoreReport report = inspect();
        EXPECT_THAT(kinds(report), ElementsAre(nameOf(kind)));
        return report.findings.empty() ? StoreFinding{} : report.findings.front();
    }
};

TEST_F(StoreInspectionTest, FindsNothingInAStoreThatOnlyTheLibraryHasWritten) {
    fill();
    const StoreReport report = inspect();
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_THAT(report.notes, IsEmpty());
    EXPECT_EQ(report.payloads, 2);
    EXPECT_EQ(report.payloadBytes, small.size() + large.size());
    EXPECT_EQ(report.files.size(), 1U);
}

TEST_F(StoreInspectionTest, WorksWhileTheStoreIsInUseAndAfterIt) {
    fill();
    ModelContext atWork(library.container());
    atWork.insert<Thing>(ThingKind::note, "not yet saved");
    EXPECT_THAT(kinds(inspect()), IsEmpty());
    atWork.save();
    library.close();
    EXPECT_THAT(kinds(inspect()), IsEmpty());
    EXPECT_FALSE(library.files().status(library.storePath() + "-wal")) << "left as it was";
}

TEST_F(StoreInspectionTest, LeavesTheLogOfAProgramThatCrashed) {
    fill();
    const auto log = library.files().status(library.storePath() + "-wal");
    ASSERT_GT(log->size, 0U);
    EXPECT_THAT(kinds(inspect()), IsEmpty());
    EXPECT_EQ(library.files().status(library.storePath() + "-wal")->size, log->size);
}

TEST_F(StoreInspectionTest, SaysThatThereIsNoLibrary) {
    library.close();
    const StoreReport report =
        StoreInspection(librarySchema(), library.files(), library.folder().path() + "/none.store")
            .run({});
    EXPECT_TRUE(report.isHealthy());
    EXPECT_THAT(report.notes, ElementsAre(HasSubstr("no library yet")));
}

TEST_F(StoreInspectionTest, SaysThatADatabaseWithoutTablesIsEmpty) {
    library.close();
    std::filesystem::remove(library.storePath());
    writeFile(library.storePath(), "");
    EXPECT_THAT(inspect().notes, ElementsAre(HasSubstr("holds nothing yet")));
    execute("PRAGMA journal_mode = WAL");
    ASSERT_GT(std::filesystem::file_size(library.storePath()), 0U);
    const StoreReport report = inspect();
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_THAT(report.notes, ElementsAre(HasSubstr("holds nothing yet")));
}

TEST_F(StoreInspectionTest, WarnsOfPayloadFilesWithoutADatabase) {
    fill();
    library.close();
    std::filesystem::remove(library.storePath());
    EXPECT_THAT(kinds(inspect()), ElementsAre("unusableDatabase", "stray"));
}

TEST_F(StoreInspectionTest, NamesAFileThatIsNoDatabase) {
    library.close();
    writeFile(library.storePath(), "Dear diary");
    EXPECT_THAT(only(Kind::unusableDatabase).sentence, HasSubstr("isn’t a library store"));
    EXPECT_EQ(readFile(library.storePath()), "Dear diary");
}

TEST_F(StoreInspectionTest, LeavesANewerFormatAlone) {
    execute("PRAGMA user_version = 1000");
    EXPECT_THAT(only(Kind::unusableDatabase).sentence, HasSubstr("newer version"));
}

TEST_F(StoreInspectionTest, LooksAtWhatAnEarlierFormatHasInCommon) {
    library.close();
    std::filesystem::remove(library.storePath());
    writeFile(library.storePath(), "");
    execute(std::string(format1::tables) + std::string(format1::library));
    const StoreReport report = inspect();
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_THAT(report.notes, ElementsAre(HasSubstr("earlier format 1")));
}

TEST_F(StoreInspectionTest, NamesDamagedPagesOfTheDatabase) {
    fill();
    library.close();
    std::string bytes = readFile(library.storePath());
    // The page that begins the table of things: the last one that was made is the likeliest to be
    // a leaf; all of the file behind the first page stands for it.
    for (std::size_t at = 8192; at < bytes.size(); ++at) bytes[at] = '\xA5';
    writeFile(library.storePath(), bytes);
    const StoreReport report = inspect();
    EXPECT_THAT(kinds(report), testing::Contains("damagedDatabase"));
    EXPECT_EQ(readFile(library.storePath()), bytes) << "looking changes nothing";
}

TEST_F(StoreInspectionTest, NamesAMissingTriggerAndAMissingIndex) {
    execute("DROP TRIGGER Thing_updated; DROP INDEX Thing_data");
    EXPECT_THAT(kinds(inspect()), ElementsAre("missingPart", "missingPart"));
}

TEST_F(StoreInspectionTest, NamesANumberThatWouldBeGivenOutTwice) {
    fill();
    execute("UPDATE sqlite_sequence SET seq = 0 WHERE name = 'Thing'");
    EXPECT_EQ(only(Kind::usedNumber).entity, "Thing");
}

TEST_F(StoreInspectionTest, NamesTheItemWhoseProjectIsMissing) {
    fill();
    execute("UPDATE Thing SET project = 77 WHERE title = 'Film'");
    const StoreFinding finding = only(Kind::missingTarget);
    EXPECT_THAT(finding.sentence, AllOf(HasSubstr("thing “Film” ("), HasSubstr("project")));
    EXPECT_EQ(finding.column, "project");
}

TEST_F(StoreInspectionTest, NamesTheProjectWhoseParentIsMissing) {
    fill();
    execute("UPDATE Project SET parent = 77 WHERE name = 'below'");
    EXPECT_THAT(only(Kind::missingTarget).sentence, HasSubstr("project “below”"));
}

TEST_F(StoreInspectionTest, NamesTheItemWhosePayloadHasNoRow) {
    fill();
    execute("DELETE FROM Payload WHERE bytes NOT NULL");
    const StoreFinding finding = only(Kind::missingTarget);
    EXPECT_THAT(finding.sentence, HasSubstr("thing “Plan”"));
    EXPECT_EQ(finding.column, "data");
}

TEST_F(StoreInspectionTest, NamesListsThatLeadNowhereOrCannotBeRead) {
    fill();
    execute("UPDATE Thing SET tags = '[77]' WHERE title = 'Film'");
    EXPECT_THAT(only(Kind::missingListTarget).sentence, HasSubstr("tag that is not there"));
    execute("UPDATE Thing SET tags = '[1,1]' WHERE title = 'Film'");
    EXPECT_THAT(only(Kind::missingListTarget).sentence, HasSubstr("twice"));
    execute("UPDATE Thing SET tags = 'red' WHERE title = 'Film'");
    EXPECT_THAT(only(Kind::illFormedList).sentence, HasSubstr("thing “Film”"));
}

TEST_F(StoreInspectionTest, NamesEachCycleOfProjectsOnce) {
    fill();
    execute("UPDATE Project SET parent = 2 WHERE id = 1");
    EXPECT_EQ(only(Kind::cycle).row, 2);
    execute(
        "UPDATE Project SET parent = NULL WHERE id = 1; UPDATE Project SET parent = 2 WHERE id = "
        "2");
    EXPECT_EQ(only(Kind::cycle).row, 2);
}

TEST_F(StoreInspectionTest, NamesTheYoungerOfTwoWithOneIdentifier) {
    fill();
    execute("UPDATE Thing SET uuid = (SELECT uuid FROM Thing WHERE title = 'Plan')");
    EXPECT_THAT(only(Kind::duplicate).sentence, HasSubstr("thing “Film”"));
}

TEST_F(StoreInspectionTest, NamesValuesThatNoProgramCanShow) {
    fill();
    execute("UPDATE Thing SET updatedAt = 1e300 WHERE title = 'Plan'");
    EXPECT_EQ(only(Kind::unreadableValue).column, "updatedAt");
    execute("UPDATE Thing SET updatedAt = 1, aspectRatio = 9e999 WHERE title = 'Plan'");
    EXPECT_EQ(only(Kind::unreadableValue).column, "aspectRatio");
    execute("UPDATE Thing SET aspectRatio = 1, note = CAST(x'ff' AS TEXT) WHERE title = 'Plan'");
    EXPECT_EQ(only(Kind::unreadableValue).column, "note");
}

TEST_F(StoreInspectionTest, NamesPayloadFilesThatAreMissingOrDamaged) {
    fill();
    std::string changed = large;
    changed[1000] ^= 1;
    writeFile(largeFile(), changed);
    StoreFinding finding = only(Kind::damagedPayload);
    EXPECT_THAT(finding.sentence, AllOf(HasSubstr("thing “Film”"), HasSubstr("damaged")));
    EXPECT_EQ(finding.digest, sha256(large));
    writeFile(largeFile(), "short");
    (void)only(Kind::damagedPayload);
    std::filesystem::remove(largeFile());
    finding = only(Kind::missingPayload);
    EXPECT_THAT(finding.sentence, AllOf(HasSubstr("thing “Film”"), HasSubstr("missing")));
}

TEST_F(StoreInspectionTest, NamesPayloadsThatChangedInTheDatabase) {
    fill();
    execute("UPDATE Payload SET bytes = zeroblob(size) WHERE bytes NOT NULL");
    EXPECT_THAT(only(Kind::damagedPayload).sentence, HasSubstr("thing “Plan”"));
}

TEST_F(StoreInspectionTest, NamesPayloadsThatBelongToNothing) {
    fill();
    execute("UPDATE Thing SET data = NULL WHERE title = 'Plan'");
    EXPECT_THAT(only(Kind::unusedPayload).sentence,
                HasSubstr(std::to_string(small.size()) + " bytes"));
}

TEST_F(StoreInspectionTest, NamesStraysAndLeftoversButNotWhatIsNotOurs) {
    fill();
    writeFile(inExternalFolder(sha256("stray").hex()), "stray");
    writeFile(inExternalFolder(".kelto-0011.part"), "half");
    writeFile(inExternalFolder("backup.tar"), "precious");
    EXPECT_THAT(kinds(inspect()), ElementsAre("leftover", "stray"));
}

TEST_F(StoreInspectionTest, DoesNotTakeAnotherProgramsWorkForAStray) {
    fill();
    ModelContext atWork(library.container());
    (void)library.keep(atWork, std::string(100'000, 'w'));
    const StoreReport report = inspect();
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_THAT(report.notes, ElementsAre(HasSubstr("is writing into the library")));
}

TEST_F(StoreInspectionTest, NamesFilesThatOthersMayRead) {
    fill();
    using std::filesystem::perms;
    std::filesystem::permissions(library.folder().path(), perms(0755));
    std::filesystem::permissions(library.storePath(), perms(0644));
    EXPECT_THAT(kinds(inspect()), ElementsAre("permissions", "permissions"));
    std::filesystem::permissions(library.folder().path(), perms(0700));
    EXPECT_THAT(kinds(inspect()), IsEmpty()) << "nobody gets to the files";
    std::filesystem::permissions(library.storePath(), perms(0400));
    EXPECT_THAT(only(Kind::permissions).sentence, HasSubstr("may not be written"));
}

}  // namespace
}  // namespace kelto
