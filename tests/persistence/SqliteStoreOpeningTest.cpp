#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

class SqliteStoreOpeningTest : public testing::Test {
protected:
    void execute(const std::string& sql) {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
    }

    [[nodiscard]] std::string storeBytes() const { return readFile(library.storePath()); }

    void replaceStoreBy(std::string_view bytes) {
        for (const char* suffix : {"", "-wal", "-shm"}) {
            library.files().remove(library.storePath() + suffix);
        }
        writeFile(library.storePath(), bytes);
    }

    /// What a power cut leaves of a store in the making: the journal was flushed, and of the pages
    /// some have reached the disk, but not the first one.
    void interruptTheMaking() {
        replaceStoreBy("");
        std::string pages;
        std::string journal;
        {
            SqliteDatabase maker(library.storePath(), std::chrono::milliseconds(1000));
            maker.run("PRAGMA cache_size = 1");  // so that pages are written before the commit
            maker.run("BEGIN");
            maker.run("CREATE TABLE made (a)");
            for (int i = 0; i < 20; ++i) maker.run("INSERT INTO made VALUES (randomblob(3000))");
            pages = storeBytes();
            journal = readFile(library.storePath() + "-journal");
        }
        ASSERT_GT(pages.size(), 4096U);
        ASSERT_GT(journal.size(), 0U);
        replaceStoreBy(pages.replace(0, 4096, 4096, '\0'));
        writeFile(library.storePath() + "-journal", journal);
    }

    /// The sentence with which opening fails.
    std::string refusal() {
        try {
            (void)library.anotherContainer();
        } catch (const PlatformError& error) {
            return error.localizedDescription();
        }
        return "";
    }

    [[nodiscard]] static unsigned permissions(const std::string& path) {
        struct stat answer {};
        EXPECT_EQ(stat(path.c_str(), &answer), 0) << path;
        return answer.st_mode & 0777U;
    }

    LibraryStore library;
};

TEST_F(SqliteStoreOpeningTest, MarksTheFileAsALibraryOfThisFormat) {
    EXPECT_EQ(library.number("PRAGMA application_id"), SqliteStore::applicationId);
    EXPECT_EQ(library.number("PRAGMA user_version"), SqliteStore::formatVersion);
}

TEST_F(SqliteStoreOpeningTest, LetsNobodyElseReadTheFiles) {
    ModelContext context(library.container());
    context.insert<Thing>(ThingKind::note, "private");
    context.save();
    EXPECT_EQ(permissions(library.storePath()), 0600U);
    EXPECT_EQ(permissions(library.storePath() + "-wal"), 0600U);
    EXPECT_EQ(permissions(library.externalFolder()), 0700U);
}

TEST_F(SqliteStoreOpeningTest, RefusesANewerFormatAndLeavesItUntouched) {
    library.close();
    std::string bytes = storeBytes();
    bytes[62] = 1;  // the format in the header, big-endian, of what a newer version would write
    replaceStoreBy(bytes);
    EXPECT_EQ(
        refusal(),
        "The library’s store “Kelto.store” was written by a newer version of Kelto. Update this "
        "application to open it.");
    EXPECT_EQ(storeBytes(), bytes);
    EXPECT_FALSE(library.files().status(library.storePath() + "-wal"));
}

TEST_F(SqliteStoreOpeningTest, RefusesANewerFormatThatOnlyTheLogKnows) {
    execute("PRAGMA user_version = 1000");
    EXPECT_THAT(refusal(), testing::HasSubstr("newer version of Kelto"));
}

TEST_F(SqliteStoreOpeningTest, RefusesAFileThatIsNoDatabase) {
    replaceStoreBy("Dear diary");
    EXPECT_THAT(refusal(), testing::HasSubstr("isn’t a library store"));
    EXPECT_EQ(storeBytes(), "Dear diary");
}

TEST_F(SqliteStoreOpeningTest, RefusesTheDatabaseOfAnotherProgram) {
    replaceStoreBy("");
    execute("CREATE TABLE theirs (a)");
    EXPECT_THAT(refusal(), testing::HasSubstr("isn’t a library store"));
    EXPECT_EQ(library.number("SELECT count(*) FROM sqlite_schema"), 1);
}

TEST_F(SqliteStoreOpeningTest, RefusesTheMarkedDatabaseOfAnotherProgram) {
    replaceStoreBy("");
    execute("PRAGMA application_id = 42");
    EXPECT_THAT(refusal(), testing::HasSubstr("isn’t a library store"));
}

TEST_F(SqliteStoreOpeningTest, RefusesAFolderInTheStoresPlace) {
    replaceStoreBy("");
    library.files().remove(library.storePath());
    library.files().createFolders(library.storePath());
    EXPECT_THAT(refusal(), testing::HasSubstr("Kelto.store"));
}

TEST_F(SqliteStoreOpeningTest, OpensAStoreThroughALinkToItsFolder) {
    // People move their home or its data folder to another disk and leave a link behind.
    const std::string link = library.folder().path() + "/link";
    ASSERT_EQ(symlink(library.folder().path().c_str(), link.c_str()), 0);
    SqliteStore store(librarySchema(),
                      std::make_shared<PosixFileSystem>(),
                      std::make_shared<FakeClock>(),
                      std::make_shared<SeededRandom>(2),
                      link + "/Kelto.store");
    EXPECT_EQ(store.begin().extent, ForeignChanges::Extent::unknown);
}

TEST_F(SqliteStoreOpeningTest, MakesAStoreOfAnEmptyFile) {
    replaceStoreBy("");
    EXPECT_EQ(refusal(), "");
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing"), 0);
}

TEST_F(SqliteStoreOpeningTest, MakesAStoreWhoseMakingAPowerCutInterrupted) {
    interruptTheMaking();
    EXPECT_EQ(refusal(), "");
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing"), 0);
}

TEST_F(SqliteStoreOpeningTest, RefusesAFileOfZerosWithoutAJournal) {
    const std::string zeros(8192, '\0');
    replaceStoreBy(zeros);
    EXPECT_THAT(refusal(), testing::HasSubstr("isn’t a library store"));
    EXPECT_EQ(storeBytes(), zeros);
}

TEST_F(SqliteStoreOpeningTest, LeavesAFileThatIsNoDatabaseAloneWhateverJournalLiesBesideIt) {
    interruptTheMaking();
    writeFile(library.storePath(), "Dear diary");
    EXPECT_THAT(refusal(), testing::HasSubstr("isn’t a library store"));
    EXPECT_EQ(storeBytes(), "Dear diary");
}

TEST_F(SqliteStoreOpeningTest, ReportsADamagedDatabase) {
    std::string bytes = storeBytes();
    bytes.replace(100, bytes.size() - 100, bytes.size() - 100, '\xA5');
    replaceStoreBy(bytes);
    EXPECT_THAT(refusal(), testing::HasSubstr("Kelto.store"));
}

}  // namespace
}  // namespace kelto
