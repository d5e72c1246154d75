#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqlitePayloads.hpp"
#include "kelto/platform/FileTransfer.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

/// Sizes around each border: empty, in the database, in a file, in more than one buffer.
class PayloadSizeTest : public testing::TestWithParam<std::size_t> {
protected:
    LibraryStore library;
};

TEST_P(PayloadSizeTest, ComesBackAsItWas) {
    const std::string bytes(GetParam(), '\x7f');
    std::optional<Payload> payload;
    {
        ModelContext context(library.container());
        payload = library.keep(context, bytes);
        context.insert<Thing>(ThingKind::image, "image").setData(payload);
        context.save();
    }
    library.reopen();
    EXPECT_EQ(library.bytes(*payload), bytes);
    EXPECT_EQ(library.container().payloads().size(*payload), bytes.size());
    EXPECT_EQ(payload->digest, sha256(bytes));
}

INSTANTIATE_TEST_SUITE_P(AroundEachBorder,
                         PayloadSizeTest,
                         testing::Values(0,
                                         1,
                                         SqlitePayloads::inlineLimitBytes,
                                         SqlitePayloads::inlineLimitBytes + 1,
                                         transferBufferBytes - 1,
                                         transferBufferBytes,
                                         transferBufferBytes + 1,
                                         5 * transferBufferBytes + 7));

class SqlitePayloadsTest : public testing::Test {
protected:
    Thing& addThing(ModelContext& context, std::string_view bytes) {
        Thing& thing = context.insert<Thing>(ThingKind::image, "image");
        thing.setData(library.keep(context, bytes));
        return thing;
    }

    [[nodiscard]] std::int64_t payloadRows() const {
        return library.number("SELECT count(*) FROM Payload");
    }

    LibraryStore library;
    const std::string large = std::string(300'000, 'L');
    const std::string small = std::string(300, 's');
};

TEST_F(SqlitePayloadsTest, StoresTheSameBytesOnce) {
    ModelContext context(library.container());
    addThing(context, large);
    addThing(context, large).setThumbnailData(library.keep(context, small));
    addThing(context, small);
    context.save();
    EXPECT_EQ(payloadRows(), 2);
    EXPECT_EQ(library.externalFileCount(), 1U);
}

TEST_F(SqlitePayloadsTest, RemovesBytesWithTheirLastOwner) {
    {
        ModelContext context(library.container());
        addThing(context, large);
        addThing(context, large);
        context.save();
    }
    ModelContext context(library.container());
    context.remove(*context.fetch<Thing>().front());
    context.save();
    EXPECT_EQ(library.externalFileCount(), 1U);
    context.remove(*context.fetch<Thing>().front());
    context.save();
    EXPECT_EQ(payloadRows(), 0);
    EXPECT_EQ(library.externalFileCount(), 0U);
}

TEST_F(SqlitePayloadsTest, RemovesBytesThatWereReplaced) {
    ModelContext context(library.container());
    Thing& thing = addThing(context, large);
    context.save();
    thing.setData(library.keep(context, small));
    context.save();
    EXPECT_EQ(payloadRows(), 1);
    EXPECT_EQ(library.externalFileCount(), 0U);
}

TEST_F(SqlitePayloadsTest, LeavesTheBytesThatAnotherProgramTakesUpWhileTheyAreDropped) {
    const auto other = library.anotherContainer();
    ModelContext mine(library.container());
    addThing(mine, large);
    mine.save();
    {
        // Whoever drops the bytes may remove their file only when nobody else is at work.
        ModelContext theirs(*other);
        theirs.fetch<Thing>().front()->setData(std::nullopt);
        theirs.save();
    }
    const Payload payload = *addThing(mine, large).data();
    mine.save();
    ModelContext again(*other);
    (void)again.fetch<Thing>();
    EXPECT_EQ(library.bytes(payload), large);
}

TEST_F(SqlitePayloadsTest, KeepsNothingOfARollback) {
    {
        ModelContext context(library.container());
        addThing(context, large);
        EXPECT_EQ(library.externalFileCount(), 1U);
    }
    EXPECT_EQ(payloadRows(), 0);
    EXPECT_EQ(library.externalFileCount(), 0U);
}

/// Makes the database roll back by itself when a thing is inserted, as it does when the disk is
/// full: the write lock is gone before the store hears of it.
class DatabaseThatRollsBackTest : public SqlitePayloadsTest {
protected:
    DatabaseThatRollsBackTest() {
        execute(
            "CREATE TRIGGER t BEFORE INSERT ON Thing BEGIN SELECT RAISE(ROLLBACK, 'full'); END");
        ModelContext context(library.container());
        addThing(context, large);
        EXPECT_THROW(context.save(), PlatformError);
        execute("DROP TRIGGER t");
    }

    void execute(const std::string& sql) const {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
    }
};

TEST_F(DatabaseThatRollsBackTest, LeavesNoFileBehindTheNextUnitOfWork) {
    ModelContext next(library.container());
    EXPECT_THAT(next.fetch<Thing>(), testing::IsEmpty());
    EXPECT_EQ(library.externalFileCount(), 0U);
}

TEST_F(DatabaseThatRollsBackTest, LeavesTheBytesThatAnotherProgramStoresMeanwhile) {
    Payload payload;
    {
        const auto other = library.anotherContainer();
        ModelContext theirs(*other);
        payload = *addThing(theirs, large).data();
        theirs.save();
    }
    {
        ModelContext rolledBack(library.container());
        addThing(rolledBack, small);
    }
    library.reopen();
    EXPECT_EQ(library.bytes(payload), large);
}

TEST_F(SqlitePayloadsTest, KeepsNothingOfBytesThatWereReceivedAndNotKept) {
    ModelContext context(library.container());
    (void)context.fetch<Thing>();
    const std::string path = joinedPath(library.folder().path(), "file");
    SeededRandom random(7);
    writeAtomically(library.files(), random, path, Durability::relaxed, [&](File& file) {
        file.write(bytesOf(large));
    });
    {
        const auto received = context.payloads().receive(library.files().openForReading(path));
        EXPECT_EQ(library.externalFileCount(), 1U);
    }
    EXPECT_EQ(library.externalFileCount(), 0U);
}

TEST_F(SqlitePayloadsTest, SweepsFilesThatNoRowNamesWhenTheStoreOpens) {
    {
        ModelContext context(library.container());
        addThing(context, large);
        context.save();
    }
    SeededRandom random(7);
    for (const std::string& stray : {std::string(".kelto-0011.part"), sha256("stray").hex()}) {
        writeAtomically(library.files(),
                        random,
                        joinedPath(library.externalFolder(), stray),
                        Durability::relaxed,
                        [](File& file) { file.write(bytesOf("stray")); });
    }
    EXPECT_EQ(library.externalFileCount(), 3U);
    library.reopen();
    EXPECT_EQ(library.externalFileCount(), 1U);
}

TEST_F(SqlitePayloadsTest, KeepsTheFilesOfALibraryThatHasLostItsDatabase) {
    {
        ModelContext context(library.container());
        addThing(context, large);
        context.save();
    }
    library.close();
    for (const char* suffix : {"", "-wal", "-shm"}) {
        library.files().remove(library.storePath() + suffix);
    }
    library.reopen();
    EXPECT_EQ(library.externalFileCount(), 0U);
    const std::string kept = library.folder().path() + "/Lost and found/" + sha256(large).hex();
    EXPECT_EQ(readWholeFile(library.files(), kept, 1'000'000), large);
}

TEST_F(SqlitePayloadsTest, NamesAPayloadWhoseFileIsGone) {
    Payload payload;
    {
        ModelContext context(library.container());
        payload = *addThing(context, large).data();
        context.save();
    }
    library.files().remove(joinedPath(library.externalFolder(), payload.digest.hex()));
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr(payload.digest.hex())));
}

TEST_F(SqlitePayloadsTest, NamesAPayloadWhoseFileIsShort) {
    Payload payload;
    {
        ModelContext context(library.container());
        payload = *addThing(context, large).data();
        context.save();
    }
    SeededRandom random(7);
    writeAtomically(library.files(),
                    random,
                    joinedPath(library.externalFolder(), payload.digest.hex()),
                    Durability::relaxed,
                    [](File& file) { file.write(bytesOf("short")); });
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("damaged")));
}

TEST_F(SqlitePayloadsTest, NamesAPayloadWhoseBytesHaveChanged) {
    Payload payload;
    {
        ModelContext context(library.container());
        payload = *addThing(context, large).data();
        context.save();
    }
    std::string changed = large;
    changed[1000] ^= 1;
    SeededRandom random(7);
    writeAtomically(library.files(),
                    random,
                    joinedPath(library.externalFolder(), payload.digest.hex()),
                    Durability::relaxed,
                    [&](File& file) { file.write(bytesOf(changed)); });
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr(payload.digest.hex())));
}

TEST_F(SqlitePayloadsTest, NamesASmallPayloadWhoseBytesHaveChanged) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, small).data();
    context.save();
    SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000))
        .run("UPDATE Payload SET bytes = CAST(replace(bytes, 's', 't') AS BLOB)");
    ModelContext reading(library.container(), ModelContext::Access::read);
    reading.begin();  // and so hears that somebody has written
    EXPECT_THAT(
        [&] { (void)library.bytes(payload); },
        testing::ThrowsMessage<PlatformError>(testing::AllOf(
            testing::HasSubstr(payload.digest.hex()), testing::HasSubstr("keltoctl doctor"))));
    EXPECT_THAT(
        [&] {
            SeededRandom random(7);
            const auto folder = library.files().openFolder(library.folder().path());
            OutgoingFiles outgoing(*folder, random);
            library.container().payloads().handOut(payload, "out", outgoing);
        },
        testing::ThrowsMessage<PlatformError>(testing::HasSubstr(payload.digest.hex())));
    EXPECT_FALSE(library.files().status(joinedPath(library.folder().path(), "out")));
}

TEST_F(SqlitePayloadsTest, WaitsForTheDiskOnceBeforeTheCommit) {
    ModelContext context(library.container());
    for (const char filling : {'a', 'b', 'c'}) addThing(context, std::string(300'000, filling));
    EXPECT_EQ(library.files().count(FileOperation::fileSync), 0U);
    const std::uint64_t before = library.files().count(FileOperation::syncFolder);
    EXPECT_EQ(before, 2U) << "the folders that the new store has made";
    context.save();
    EXPECT_EQ(library.files().count(FileOperation::fileSync), 3U);
    EXPECT_EQ(library.files().count(FileOperation::syncFolder), before + 1);
}

TEST_F(SqlitePayloadsTest, CommitsNothingWhoseFileDidNotReachTheDisk) {
    ModelContext context(library.container());
    addThing(context, large);
    library.files().fail({.operation = FileOperation::fileSync});
    EXPECT_THROW(context.save(), PlatformError);
    EXPECT_EQ(payloadRows(), 0);
    EXPECT_EQ(library.externalFileCount(), 0U);
}

TEST_F(SqlitePayloadsTest, DoesNotHashAgainWhatItHasJustWritten) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    const WorkCounters before = workSoFar();
    EXPECT_EQ(library.bytes(payload), large);
    EXPECT_EQ((workSoFar() - before)[Work::digests], 0U);
}

TEST_F(SqlitePayloadsTest, HashesAStoredFileOnceInItsLife) {
    Payload payload;
    {
        ModelContext context(library.container());
        payload = *addThing(context, large).data();
        context.save();
    }
    library.reopen();
    const auto status =
        library.files().status(joinedPath(library.externalFolder(), payload.digest.hex()));
    library.clock().current.secondsSince1970 =
        static_cast<double>(status->changedNanoseconds) / 1e9 + 10;
    const WorkCounters before = workSoFar();
    EXPECT_EQ(library.bytes(payload), large);
    EXPECT_EQ((workSoFar() - before)[Work::digests], 1U);
    EXPECT_EQ(library.bytes(payload), large);
    EXPECT_EQ((workSoFar() - before)[Work::digests], 1U);
}

TEST_F(SqlitePayloadsTest, NoticesBytesThatChangeRightAfterTheyWereStored) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    const std::string path = joinedPath(library.externalFolder(), payload.digest.hex());
    const std::int64_t written = library.files().status(path)->changedNanoseconds;
    // Until the file system's clock has gone on: the same moment could not be told from then.
    do {
        std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).put('X');
    } while (library.files().status(path)->changedNanoseconds == written);
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr(payload.digest.hex())));
}

TEST_F(SqlitePayloadsTest, NoticesBytesThatChangeWhileTheyAreCopied) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    const std::string path = joinedPath(library.externalFolder(), payload.digest.hex());
    const std::int64_t written = library.files().status(path)->changedNanoseconds;
    const auto change = [&] {
        do {
            std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).put('X');
        } while (PosixFileSystem().status(path)->changedNanoseconds == written);
    };
    // The open file is asked for its status before its bytes are copied, and again afterwards.
    library.files().beforeNext(FileOperation::fileStatus, [&] {
        library.files().beforeNext(FileOperation::fileStatus, change);
    });
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr(payload.digest.hex())));
}

TEST_F(SqlitePayloadsTest, CallsAFileMissingThatIsDroppedBetweenALookAndItsOpening) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    const std::string path = joinedPath(library.externalFolder(), payload.digest.hex());
    library.files().beforeNext(FileOperation::openForReading,
                               [&] { std::filesystem::remove(path); });
    // The sentence by which an export knows that it has to begin again.
    EXPECT_THAT([&] { (void)library.bytes(payload); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("missing or changed")));
}

TEST_F(SqlitePayloadsTest, TakesLostBytesBackWhenTheyComeAgain) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    library.files().remove(joinedPath(library.externalFolder(), payload.digest.hex()));
    (void)library.keep(context, large);
    context.save();
    EXPECT_EQ(library.bytes(payload), large);
}

TEST_F(SqlitePayloadsTest, FlushesBytesThatComeAgainBeforeTheyTakeTheirPlace) {
    ModelContext context(library.container());
    const Payload payload = *addThing(context, large).data();
    context.save();
    const std::string path = joinedPath(library.externalFolder(), payload.digest.hex());
    library.files().remove(path);
    bool isFlushedFirst = false;
    library.files().beforeNext(FileOperation::fileSync,
                               [&] { isFlushedFirst = !library.files().status(path); });
    (void)library.keep(context, large);
    EXPECT_TRUE(isFlushedFirst) << "a row that is committed names them";
    EXPECT_TRUE(library.files().status(path));
}

TEST_F(SqlitePayloadsTest, LeavesWhatIsNotItsOwnInTheExternalFolder) {
    SeededRandom random(7);
    writeAtomically(library.files(),
                    random,
                    joinedPath(library.externalFolder(), "backup.tar"),
                    Durability::relaxed,
                    [](File& file) { file.write(bytesOf("precious")); });
    library.reopen();
    EXPECT_EQ(library.externalFileCount(), 1U);
}

}  // namespace
}  // namespace kelto
