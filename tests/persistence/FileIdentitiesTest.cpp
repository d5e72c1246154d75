#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/FileIdentities.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

constexpr double second = 1.0;

/// What one file cost, and what came of it.
struct Receipt {
    Payload payload;
    std::uint64_t bytesRead;
    std::uint64_t digests;
};

class FileIdentitiesTest : public testing::Test {
protected:
    FileIdentitiesTest() { waitUntilOld("file", 10 * second); }

    /// Lets the clock show a moment so long after the file's last change.
    void waitUntilOld(std::string_view name, double age) {
        const auto status = library.files().status(library.folder().path(name));
        const std::int64_t changed = status ? status->changedNanoseconds : now();
        library.clock().current.secondsSince1970 = static_cast<double>(changed) / 1e9 + age;
    }
    [[nodiscard]] static std::int64_t now() {
        timespec time{};
        ::clock_gettime(CLOCK_REALTIME, &time);
        return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
    }
    /// A file of the host, changed so long ago that it can be trusted.
    std::string oldFile(std::string_view name, std::string_view bytes) {
        std::string path = library.folder().write(name, bytes);
        waitUntilOld(name, 10 * second);
        return path;
    }

    /// Receives a file within a unit of work of its own, which commits.
    Receipt received(const std::string& path) {
        ModelContext context(library.container());
        const Receipt receipt = received(context, path);
        context.save();
        return receipt;
    }
    Receipt received(ModelContext& context, const std::string& path) {
        (void)context.fetch<Thing>();
        const WorkCounters before = workSoFar();
        const ReceivedPayload payload =
            context.payloads().receive(library.files().openForReading(path));
        const WorkCounters work = workSoFar() - before;
        return {payload.payload(), work[Work::payloadBytesRead], work[Work::digests]};
    }
    /// The same for a thing that takes the bytes.
    Payload kept(const std::string& path) {
        ModelContext context(library.container());
        (void)context.fetch<Thing>();
        auto payload = context.payloads().receive(library.files().openForReading(path));
        context.payloads().keep(payload);
        context.insert<Thing>(ThingKind::image, "image").setData(payload.payload());
        context.save();
        return payload.payload();
    }
    void dropThings() {
        ModelContext context(library.container());
        for (Thing* thing : context.fetch<Thing>()) context.remove(*thing);
        context.save();
    }
    [[nodiscard]] std::int64_t rows() const {
        return library.number("SELECT count(*) FROM FileIdentity");
    }

    static void expectRead(const Receipt& receipt, std::string_view bytes) {
        EXPECT_EQ(receipt.payload.digest, sha256(bytes));
        EXPECT_EQ(receipt.bytesRead, bytes.size());
    }
    static void expectUnread(const Receipt& receipt, std::string_view bytes) {
        EXPECT_EQ(receipt.payload.digest, sha256(bytes));
        EXPECT_EQ(receipt.bytesRead, 0U);
    }

    LibraryStore library;
    const std::string large = std::string(300'000, 'L');
};

TEST_F(FileIdentitiesTest, ReadsTheSameFileOnce) {
    const std::string path = oldFile("file", "bytes");
    expectRead(received(path), "bytes");
    const std::uint64_t reads = library.files().count(FileOperation::fileRead);
    const Receipt again = received(path);
    expectUnread(again, "bytes");
    EXPECT_EQ(again.digests, 0U);
    EXPECT_EQ(library.files().count(FileOperation::fileRead), reads);
}

TEST_F(FileIdentitiesTest, KnowsAFileByItsStatusAlone) {
    const std::string path = oldFile("file", "bytes");
    const FileStatus status = *library.files().status(path);
    EXPECT_EQ(library.container().payloads().seenBefore(status), std::nullopt);
    received(path);
    EXPECT_EQ(library.container().payloads().seenBefore(status), Payload{sha256("bytes")});
}

TEST_F(FileIdentitiesTest, WritesNothingWhenNothingIsNew) {
    const std::string path = oldFile("file", "bytes");
    received(path);
    const WorkCounters before = workSoFar();
    received(path);
    EXPECT_EQ((workSoFar() - before)[Work::rowsWritten], 0U);
}

TEST_F(FileIdentitiesTest, WritesWhatIsNewAlsoWhenNothingElseHasChanged) {
    const std::string path = oldFile("file", "bytes");
    const WorkCounters before = workSoFar();
    received(path);
    EXPECT_EQ((workSoFar() - before)[Work::rowsWritten], 1U);
    EXPECT_EQ(rows(), 1);
}

TEST_F(FileIdentitiesTest, SurvivesTheProcess) {
    const std::string path = oldFile("file", "bytes");
    received(path);
    library.reopen();
    expectUnread(received(path), "bytes");
}

TEST_F(FileIdentitiesTest, WritesWithTheNextCommitWhatARolledBackUnitOfWorkHasLearnt) {
    const std::string path = oldFile("file", "bytes");
    {
        ModelContext rolledBack(library.container());
        received(rolledBack, path);
    }
    EXPECT_EQ(rows(), 0);
    expectUnread(received(path), "bytes");
    EXPECT_EQ(rows(), 1);
}

TEST_F(FileIdentitiesTest, ReadsAFileThatWasChangedWithinOneTickOfTheClock) {
    // Equal in size and in every time: nothing but its youth tells that it may have changed.
    library.files().stopClock(now());
    const std::string path = library.folder().write("file", "before");
    waitUntilOld("file", 1 * second);
    expectRead(received(path), "before");
    library.folder().write("file", "after ");
    waitUntilOld("file", 60 * second);
    expectRead(received(path), "after ");
}

TEST_F(FileIdentitiesTest, ReadsAYoungFileAgainUntilItIsOldEnough) {
    const std::string path = library.folder().write("file", "bytes");
    waitUntilOld("file", 0 * second);
    expectRead(received(path), "bytes");
    waitUntilOld("file", 1.999 * second);
    expectRead(received(path), "bytes");
    EXPECT_EQ(rows(), 0);
    waitUntilOld("file", 2.001 * second);
    expectRead(received(path), "bytes");
    expectUnread(received(path), "bytes");
}

TEST_F(FileIdentitiesTest, DoesNotTrustAFileOfTheFuture) {
    const std::string path = library.folder().write("file", "bytes");
    waitUntilOld("file", -3600 * second);
    expectRead(received(path), "bytes");
    expectRead(received(path), "bytes");
}

TEST_F(FileIdentitiesTest, ReadsATouchedFile) {
    const std::string path = oldFile("file", "bytes");
    received(path);
    const std::array<timespec, 2> times{{{1'000'000'000, 0}, {1'000'000'000, 0}}};
    ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
    expectRead(received(path), "bytes");
}

TEST_F(FileIdentitiesTest, ReadsAFileThatHasGrown) {
    const std::string path = oldFile("file", "bytes");
    received(path);
    library.folder().write("file", "bytes and more");
    expectRead(received(path), "bytes and more");
}

TEST_F(FileIdentitiesTest, ReadsAFileThatAnotherWasRenamedOver) {
    const std::string path = oldFile("file", "bytes");
    const std::string other = oldFile("other", "BYTES");
    received(path);
    received(other);
    library.files().rename(other, path);
    expectRead(received(path), "BYTES");
}

TEST_F(FileIdentitiesTest, ReadsAChangedFileWhoseModificationTimeWasSetBack) {
    const std::string path = oldFile("file", "before");
    received(path);
    const std::int64_t modified = library.files().status(path)->modifiedNanoseconds;
    library.folder().write("file", "after ");
    const timespec time{modified / 1'000'000'000, modified % 1'000'000'000};
    const std::array<timespec, 2> times{time, time};
    ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
    ASSERT_EQ(library.files().status(path)->modifiedNanoseconds, modified);
    expectRead(received(path), "after ");
}

TEST_F(FileIdentitiesTest, UsesButDoesNotRememberAFileThatChangesWhileItIsRead) {
    const std::string path = oldFile("file", "before");
    library.files().beforeNext(FileOperation::fileRead,
                               [&] { library.folder().write("file", "after "); });
    expectRead(received(path), "after ");
    EXPECT_EQ(rows(), 0);
}

TEST_F(FileIdentitiesTest, DoesNotRememberAFileThatIsLongerThanItSays) {
    // The kernel's own files say that they are empty.
    waitUntilOld("file", 3600 * second);
    EXPECT_GT(received("/proc/version").bytesRead, 0U);
    EXPECT_GT(received("/proc/version").bytesRead, 0U);
}

TEST_F(FileIdentitiesTest, StoresAFileThatWasKnownButNotRead) {
    for (const std::string& bytes : {std::string("bytes"), large}) {
        const std::string path = oldFile("file" + std::to_string(bytes.size()), bytes);
        received(path);
        EXPECT_EQ(library.bytes(kept(path)), bytes);
    }
}

TEST_F(FileIdentitiesTest, ReadsNothingThatTheStoreHoldsAlready) {
    for (const std::string& bytes : {std::string("bytes"), large}) {
        const std::string path = oldFile("file" + std::to_string(bytes.size()), bytes);
        kept(path);
        const WorkCounters before = workSoFar();
        kept(path);
        EXPECT_EQ((workSoFar() - before)[Work::payloadBytesRead], 0U);
        EXPECT_EQ((workSoFar() - before)[Work::digests], 0U);
    }
}

TEST_F(FileIdentitiesTest, ReadsAKnownFileWhoseStoredBytesAreLost) {
    const std::string path = oldFile("file", large);
    const Payload payload = kept(path);
    library.files().remove(library.externalFolder() + "/" + payload.digest.hex());
    kept(path);
    EXPECT_EQ(library.bytes(payload), large);
}

TEST_F(FileIdentitiesTest, BelievesTheBytesWhenAFileWasMadeToLookUnchanged) {
    library.files().stopClock(now());
    const std::string path = oldFile("file", "before");
    kept(path);
    dropThings();
    library.folder().write("file", "after ");
    EXPECT_EQ(kept(path).digest, sha256("after "));
    EXPECT_EQ(library.bytes(Payload{sha256("after ")}), "after ");
    EXPECT_EQ(rows(), 0) << "what turned out wrong is forgotten";
    expectRead(received(path), "after ");
}

TEST_F(FileIdentitiesTest, LeavesNoTemporaryOfALargeFileThatLookedUnchanged) {
    library.files().stopClock(now());
    const std::string path = oldFile("file", large);
    kept(path);
    dropThings();
    std::string changed = large;
    changed.back() = 'M';
    library.folder().write("file", changed);
    EXPECT_EQ(library.bytes(kept(path)), changed);
    EXPECT_EQ(library.externalFileCount(), 1U);
}

TEST_F(FileIdentitiesTest, SharesTheTableBetweenProcesses) {
    const std::string path = oldFile("file", "bytes");
    const auto other = library.anotherContainer();
    received(path);
    EXPECT_EQ(other->payloads().seenBefore(*library.files().status(path)),
              Payload{sha256("bytes")});
}

/// The table alone, over a store's database.
class FileIdentityTableTest : public testing::Test {
protected:
    FileIdentityTableTest() { clock.current.secondsSince1970 = 1'000; }

    [[nodiscard]] static FileStatus file(std::uint64_t inode, std::uint64_t device = 1) {
        return {.kind = FileStatus::Kind::regular,
                .device = device,
                .inode = inode,
                .size = 5,
                .modifiedNanoseconds = 17,
                .changedNanoseconds = 18};
    }
    void commit(FileIdentities& identities) {
        database.run("BEGIN IMMEDIATE");
        identities.write();
        database.run("COMMIT");
        identities.committed();
    }
    [[nodiscard]] std::int64_t rows() {
        return database.integer("SELECT count(*) FROM FileIdentity");
    }

    LibraryStore library;
    FakeClock clock;
    SqliteDatabase database{library.storePath(), std::chrono::milliseconds(1000)};
    const Digest digest = sha256("bytes");
};

TEST_F(FileIdentityTableTest, TakesDevicesAndInodesOf64Bits) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    {
        FileIdentities identities(database, clock);
        identities.remember(file(most, most - 1), digest);
        commit(identities);
    }
    FileIdentities identities(database, clock);
    ASSERT_NE(identities.find(file(most, most - 1)), nullptr);
    EXPECT_EQ(*identities.find(file(most, most - 1)), digest);
    EXPECT_EQ(identities.find(file(most, most)), nullptr);
}

TEST_F(FileIdentityTableTest, KnowsRegularFilesOnly) {
    FileIdentities identities(database, clock);
    identities.remember(file(1), digest);
    FileStatus folder = file(1);
    folder.kind = FileStatus::Kind::folder;
    EXPECT_EQ(identities.find(folder), nullptr);
}

/// Each of them alone: on most file systems the time of change would tell of all the others.
TEST_F(FileIdentityTableTest, KnowsNoFileOfWhichOneNumberIsAnother) {
    FileIdentities identities(database, clock);
    identities.remember(file(1), digest);
    for (const auto number : {&FileStatus::device, &FileStatus::inode, &FileStatus::size}) {
        FileStatus other = file(1);
        ++(other.*number);
        EXPECT_EQ(identities.find(other), nullptr);
    }
    for (const auto time : {&FileStatus::modifiedNanoseconds, &FileStatus::changedNanoseconds}) {
        FileStatus other = file(1);
        ++(other.*time);
        EXPECT_EQ(identities.find(other), nullptr);
    }
    EXPECT_NE(identities.find(file(1)), nullptr);
}

TEST_F(FileIdentityTableTest, TrustsAFileWhenBothOfItsTimesAreOld) {
    FileIdentities identities(database, clock);
    EXPECT_TRUE(identities.isTrustworthy(file(1)));
    for (const auto time : {&FileStatus::modifiedNanoseconds, &FileStatus::changedNanoseconds}) {
        FileStatus young = file(1);
        young.*time = 999'000'000'000;  // a second before now
        EXPECT_FALSE(identities.isTrustworthy(young));
    }
}

TEST_F(FileIdentityTableTest, ReplacesTheEntryOfAFileThatHasChanged) {
    FileIdentities identities(database, clock);
    identities.remember(file(1), digest);
    commit(identities);
    FileStatus changed = file(1);
    ++changed.changedNanoseconds;
    EXPECT_EQ(identities.find(changed), nullptr);
    identities.remember(changed, sha256("other"));
    commit(identities);
    EXPECT_EQ(identities.find(file(1)), nullptr);
    EXPECT_EQ(rows(), 1);
}

TEST_F(FileIdentityTableTest, DropsWhatIsNotUsedWhenNewEntriesBecomeTooMany) {
    FileIdentities identities(database, clock);
    constexpr std::uint64_t many = FileIdentities::spareEntries + 2;
    for (std::uint64_t inode = 0; inode < many; ++inode) identities.remember(file(inode), digest);
    commit(identities);
    EXPECT_EQ(rows(), static_cast<std::int64_t>(many));

    EXPECT_NE(identities.find(file(7)), nullptr);
    commit(identities);
    EXPECT_EQ(rows(), static_cast<std::int64_t>(many)) << "nothing new, nothing written";

    identities.remember(file(many), digest);
    commit(identities);
    EXPECT_EQ(rows(), 1);
    EXPECT_NE(identities.find(file(many)), nullptr);
    EXPECT_EQ(identities.find(file(7)), nullptr);
}

TEST_F(FileIdentityTableTest, DropsNothingWhenTheTransactionIsRolledBack) {
    FileIdentities identities(database, clock);
    constexpr std::uint64_t many = FileIdentities::spareEntries + 10;
    for (std::uint64_t inode = 0; inode < many; ++inode) identities.remember(file(inode), digest);
    commit(identities);
    identities.remember(file(many), digest);
    database.run("BEGIN IMMEDIATE");
    identities.write();
    database.run("ROLLBACK");
    EXPECT_NE(identities.find(file(7)), nullptr);
    commit(identities);
    EXPECT_EQ(rows(), 2) << "the two that were used since the last commit";
}

TEST_F(FileIdentityTableTest, RemembersAgainWhatItForgot) {
    FileIdentities identities(database, clock);
    identities.remember(file(1), digest);
    commit(identities);
    identities.forget(file(1));
    EXPECT_EQ(identities.find(file(1)), nullptr);
    identities.remember(file(1), sha256("other"));
    commit(identities);
    FileIdentities reopened(database, clock);
    ASSERT_NE(reopened.find(file(1)), nullptr);
    EXPECT_EQ(*reopened.find(file(1)), sha256("other"));
}

}  // namespace
}  // namespace kelto
