#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/SqliteCheckpoints.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/persistence/GraphText.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/support/Files.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t megabyte = 1'000'000;

/// A database that is nearly empty, with an empty log.
class SqliteCheckpointsTest : public testing::Test {
protected:
    SqliteCheckpointsTest() {
        database.run("PRAGMA journal_mode = WAL; CREATE TABLE bytes (value BLOB)");
        database.checkpoint();
    }

    void write(std::size_t bytes) {
        database.run("INSERT INTO bytes VALUES (zeroblob(" + std::to_string(bytes) + "))");
    }
    void commit(std::size_t bytes) {
        write(bytes);
        checkpoints.committed();
    }
    /// Leaves a log of so many bytes to somebody who comes later, and is at work once.
    void leaveToALaterOne(std::size_t bytes) {
        write(bytes);
        SqliteDatabase later(path, std::chrono::milliseconds(1000));
        SqliteCheckpoints checkpointsOfLater(later, logSize());
        checkpointsOfLater.rested();
        checkpointsOfLater.wait();
    }

    [[nodiscard]] std::size_t databaseSize() const { return fs::file_size(path); }
    [[nodiscard]] std::size_t logSize() const { return fs::file_size(folder.path("a.db-wal")); }

    TemporaryFolder folder;
    std::string path = folder.write("a.db", "");
    SqliteDatabase database{path, std::chrono::milliseconds(1000)};
    SqliteCheckpoints checkpoints{database};
};

TEST_F(SqliteCheckpointsTest, CopyALongLogIntoTheDatabase) {
    commit(10 * megabyte);
    checkpoints.wait();
    EXPECT_GT(databaseSize(), 10 * megabyte);
}

TEST_F(SqliteCheckpointsTest, LeaveAShortLogAlone) {
    commit(2 * megabyte);
    checkpoints.wait();
    EXPECT_LT(databaseSize(), megabyte);
}

TEST_F(SqliteCheckpointsTest, AreTheOnlyOnesToCopyTheLog) {
    database.run("INSERT INTO bytes VALUES (zeroblob(10000000))");
    EXPECT_LT(databaseSize(), megabyte);
    EXPECT_GT(logSize(), 10 * megabyte);
}

TEST_F(SqliteCheckpointsTest, LetTheLogBeginAnew) {
    for (int i = 0; i < 5; ++i) {
        commit(10 * megabyte);
        checkpoints.wait();
    }
    EXPECT_GT(databaseSize(), 50 * megabyte);
    EXPECT_LT(logSize(), 15 * megabyte);
}

TEST_F(SqliteCheckpointsTest, LeaveTheLogEmpty) {
    commit(10 * megabyte);
    checkpoints.wait();
    EXPECT_EQ(logSize(), 0) << "or the next process would read all of it";
    EXPECT_GT(databaseSize(), 10 * megabyte);
}

TEST_F(SqliteCheckpointsTest, LeaveTheLogToWhoeverIsReading) {
    database.run("BEGIN");
    (void)database.integer("SELECT count(*) FROM bytes");
    SqliteDatabase writing(path, std::chrono::milliseconds(1000));
    SqliteCheckpoints checkpointsOfWriting(writing);
    writing.run("INSERT INTO bytes VALUES (zeroblob(10000000))");
    checkpointsOfWriting.committed();
    checkpointsOfWriting.wait();
    EXPECT_GT(logSize(), 10 * megabyte);
    database.run("COMMIT");
    checkpointsOfWriting.rested();
    checkpointsOfWriting.wait();
    EXPECT_EQ(logSize(), 0);
}

TEST_F(SqliteCheckpointsTest, EmptyALongLogThatSomebodyHasLeft) {
    leaveToALaterOne(10 * megabyte);
    EXPECT_EQ(logSize(), 0);
}

TEST_F(SqliteCheckpointsTest, LeaveAShortLogWhenNobodyIsAtWork) {
    leaveToALaterOne(megabyte);
    EXPECT_GT(logSize(), megabyte);
}

TEST_F(SqliteCheckpointsTest, AreMadeOnThisThreadWhenTheLogGrowsWithoutBound) {
    // Somebody has moved the file: the thread, which opens it by its path, copies nothing.
    const std::string moved = folder.path("moved.db");
    fs::rename(path, moved);
    commit(70 * megabyte);
    checkpoints.wait();
    EXPECT_LT(fs::file_size(moved), megabyte);
    commit(1);
    EXPECT_GT(fs::file_size(moved), 70 * megabyte);
}

class CheckpointsOfAStore : public testing::Test {
protected:
    /// Some megabytes in one commit.
    void saveMuch(ModelContainer& container) {
        ModelContext context(container);
        Tag& tag = context.insert<Tag>("tag");
        for (int i = 0; i < 2000; ++i) {
            Thing& thing = context.insert<Thing>(ThingKind::note, std::to_string(i));
            thing.setContent(std::string(4000, 'c'));
            thing.setTags({&tag});
        }
        context.save();
    }

    [[nodiscard]] bool logIsCopied() const {
        return fs::file_size(library.storePath()) > 8 * megabyte;
    }

    void waitForTheCopy() const {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!logIsCopied() && std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    LibraryStore library;
};

TEST_F(CheckpointsOfAStore, FollowALargeCommit) {
    saveMuch(library.container());
    waitForTheCopy();
    EXPECT_TRUE(logIsCopied());
}

TEST_F(CheckpointsOfAStore, AreNoChangeByAnother) {
    saveMuch(library.container());
    waitForTheCopy();
    const WorkCounters before = workSoFar();
    ModelContext context(library.container());
    const std::uint64_t population = library.container().populationNumber();
    EXPECT_EQ(context.fetch<Thing>().size(), 2000U);
    EXPECT_EQ(library.container().populationNumber(), population);
    EXPECT_EQ((workSoFar() - before)[Work::objectsLoaded], 0U);
}

TEST_F(CheckpointsOfAStore, EmptyALogThatAProcessHasLeftWithoutClosing) {
    // The files of a store at work, copied: a process that ends at this moment leaves the same.
    {
        SqliteDatabase writing(library.storePath(), std::chrono::milliseconds(1000));
        writing.leaveLogAlone();
        writing.run("CREATE TABLE bytes (value BLOB)");
        writing.run("INSERT INTO bytes VALUES (zeroblob(10000000))");
        const std::string log = readFile(library.storePath() + "-wal");
        const std::string database = readFile(library.storePath());
        writeFile(library.folder().path() + "/left/Kelto.store", database);
        writeFile(library.folder().path() + "/left/Kelto.store-wal", log);
    }
    const std::string left = library.folder().path() + "/left/Kelto.store";
    auto files = std::make_shared<PosixFileSystem>();
    SqliteStore store(librarySchema(),
                      files,
                      std::make_shared<FakeClock>(),
                      std::make_shared<SeededRandom>(2),
                      left);
    EXPECT_GT(fs::file_size(left + "-wal"), 10 * megabyte);
    (void)store.beginReading();
    store.rollback();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (fs::file_size(left + "-wal") > 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(fs::file_size(left + "-wal"), 0U);
}

TEST_F(CheckpointsOfAStore, AreFinishedWhenItIsClosed) {
    saveMuch(library.container());
    library.close();
    EXPECT_TRUE(logIsCopied());
    EXPECT_FALSE(fs::exists(library.storePath() + "-wal"));
    library.reopen();
    ModelContext context(library.container());
    EXPECT_EQ(context.fetch<Thing>().size(), 2000U);
}

TEST_F(CheckpointsOfAStore, LetOtherProgramsReadAndWriteMeanwhile) {
    const auto other = library.anotherContainer();
    for (int round = 0; round < 3; ++round) {
        saveMuch(library.container());
        ModelContext context(*other);
        for (Thing* thing : context.fetch<Thing>()) thing->setNote(std::to_string(round));
        context.save();
    }
    ModelContext ours(library.container());
    const std::vector<std::string> lines = linesOf(ours);
    ours.rollback();
    ModelContext theirs(*other);
    EXPECT_EQ(lines, linesOf(theirs));
    EXPECT_EQ(lines.size(), 3U * 2001U);
}

}  // namespace
}  // namespace kelto
