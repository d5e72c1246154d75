#include <filesystem>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/StoreBackup.hpp"
#include "kelto/persistence/StoreInspection.hpp"
#include "kelto/persistence/StoreRestore.hpp"
#include "kelto/platform/linux/FileDescriptor.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/persistence/DamagedStore.hpp"

namespace kelto {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::ThrowsMessage;

constexpr const char* marker = "Account";

/// Looks at the locks in files, as another process would see them. The files stay open as long as
/// it lives: closing one would let go of this process's own locks in it.
class LockProbe {
public:
    [[nodiscard]] bool isLocked(const std::string& path, off_t start, off_t length) {
        const FileDescriptor& file = files_.emplace_back(::open(path.c_str(), O_RDWR | O_CLOEXEC));
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = start;
        lock.l_len = length;
        EXPECT_EQ(::fcntl(file.number(), F_OFD_GETLK, &lock), 0);
        return lock.l_type != F_UNLCK;
    }

private:
    std::vector<FileDescriptor> files_;
};

class StoreBackupTest : public DamagedStore {
protected:
    StoreBackupTest() {
        fill();
        library.clock().current.secondsSince1970 = 1'800'000'000;
        writeFile(joinedPath(library.folder().path(), marker), "somebody");
    }

    StoreReport backUp(StoreBackup::Damaged damaged = StoreBackup::Damaged::refuse) {
        SeededRandom random(21);
        return StoreBackup(librarySchema(),
                           library.files(),
                           library.clock(),
                           random,
                           library.storePath(),
                           {marker})
            .write(backup, damaged, {});
    }

    /// Restores the backup to `storePath`; answers where the former library lies.
    std::string restore(const std::string& storePath, bool evenIfDamaged = false) {
        SeededRandom random(22);
        StoreRestore restore(
            librarySchema(), library.files(), library.clock(), random, storePath, {marker});
        const StoreReport report = restore.unpack(backup, {});
        if (!evenIfDamaged) {
            EXPECT_THAT(kinds(report), IsEmpty());
        }
        return restore.takePlace();
    }

    StoreReport inspectAt(const std::string& storePath) {
        return StoreInspection(librarySchema(), library.files(), storePath).run({});
    }

    TemporaryFolder folder;
    const std::string backup = folder.path("backup.tar");
    const std::string elsewhere = folder.path("group/Library/Kelto.store");
};

TEST_F(StoreBackupTest, ComesBackWithEveryRowAndByte) {
    EXPECT_TRUE(backUp().isHealthy());
    EXPECT_EQ(restore(elsewhere), "");
    const StoreReport report = inspectAt(elsewhere);
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_EQ(report.payloads, 2);
    EXPECT_EQ(report.rows, inspect().rows);
    EXPECT_EQ(readFile(folder.path("group/Library/Account")), "somebody");
    EXPECT_THAT(namesIn(folder.path("group")), ElementsAre("Library"));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("backup.tar", "group"));
}

TEST_F(StoreBackupTest, IsAnArchiveThatOrdinaryToolsUnpack) {
    backUp();
    const std::string commands = "cd '" + folder.path() +
                                 "' && tar xf backup.tar 2>/dev/null && cd Library && "
                                 "sha256sum --quiet -c SHA256SUMS";
    EXPECT_EQ(std::system(commands.c_str()), 0);
    EXPECT_THAT(kinds(inspectAt(folder.path("Library/Kelto.store"))), IsEmpty());
    EXPECT_EQ(readFile(folder.path("Library/.Kelto_SUPPORT/_EXTERNAL_DATA/" + sha256(large).hex())),
              large);
}

TEST_F(StoreBackupTest, IsTakenWhileAnotherProgramHasUnsavedWork) {
    ModelContext atWork(library.container());
    atWork.insert<Thing>(ThingKind::note, "not yet saved").setData(library.keep(atWork, "n"));
    EXPECT_TRUE(backUp().isHealthy());
    restore(elsewhere);
    EXPECT_EQ(inspectAt(elsewhere).rows.back().second, 2);
}

TEST_F(StoreBackupTest, BeginsAgainWhenAFileGoesMeanwhile) {
    {
        ModelContext context(library.container());
        context.insert<Thing>(ThingKind::video, "Clip").setData(library.keep(context, large + "c"));
        context.save();
    }
    const auto change = [&] {
        ModelContext context(library.container());
        for (Thing* thing : context.fetch<Thing>()) {
            if (thing->title() == "Plan") continue;
            thing->setData(library.keep(context, large + thing->title()));
        }
        context.save();
        EXPECT_FALSE(exists(largeFile()));
    };
    // The database is opened first, then the film's file, then the clip's: by then neither is there
    // any more, and the film of the state that is given up stands in the backup already.
    const auto beforeNextFile = [&](const std::function<void()>& action) {
        library.files().beforeNext(FileOperation::openForReading, action);
    };
    beforeNextFile([&] { beforeNextFile([&] { beforeNextFile(change); }); });
    EXPECT_TRUE(backUp().isHealthy());
    restore(elsewhere);
    const StoreReport report = inspectAt(elsewhere);
    EXPECT_THAT(kinds(report), IsEmpty());
    EXPECT_EQ(report.files.size(), 2U);
    EXPECT_EQ(report.payloadBytes, small.size() + 2 * large.size() + 8);
}

// Without its lock in the database's file, a program that closes the store would take itself for
// the last one and remove the log, the lock of all writers with it.
TEST_F(StoreBackupTest, KeepsItsLocksToTheEndOfTheLastRound) {
    library.close();
    std::filesystem::remove(largeFile());
    LockProbe probe;
    int looks = 0;
    // Where SQLite's file formats have the lock of readers and, in the log's index, of the writer.
    const auto isWriting = [&] { return probe.isLocked(library.storePath() + "-shm", 120, 1); };
    const auto isOpen = [&] { return probe.isLocked(library.storePath(), 0x40000002, 510); };
    std::function<void()> look = [&] {
        if (exists(library.storePath() + "-shm") && isWriting()) {
            ++looks;
            EXPECT_TRUE(isOpen()) << "when a file was opened under the write lock";
        }
        library.files().beforeNext(FileOperation::openForReading, look);
    };
    look();
    EXPECT_THAT(kinds(backUp(StoreBackup::Damaged::write)), ElementsAre("missingPayload"));
    library.files().beforeNext(FileOperation::openForReading, nullptr);
    EXPECT_GT(looks, 0);
}

TEST_F(StoreBackupTest, SaysWhatIsDamagedAndWritesItOnlyWhenWanted) {
    std::filesystem::remove(largeFile());
    EXPECT_THAT(kinds(backUp()), ElementsAre("missingPayload"));
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
    EXPECT_THAT(kinds(backUp(StoreBackup::Damaged::write)), ElementsAre("missingPayload"));
    restore(elsewhere, true);
    EXPECT_THAT(kinds(inspectAt(elsewhere)), ElementsAre("missingPayload"));
}

TEST_F(StoreBackupTest, KeepsDamagedBytesWhenWanted) {
    writeFile(largeFile(), "damaged");
    EXPECT_THAT(kinds(backUp(StoreBackup::Damaged::write)), ElementsAre("damagedPayload"));
    restore(elsewhere, true);
    EXPECT_EQ(
        readFile(folder.path("group/Library/.Kelto_SUPPORT/_EXTERNAL_DATA/" + sha256(large).hex())),
        "damaged");
}

TEST_F(StoreBackupTest, IsNotLeftHalfWritten) {
    writeFile(backup, "the backup of yesterday");
    library.files().fail(
        {.operation = FileOperation::fileWrite, .after = 3, .errorNumber = ENOSPC});
    EXPECT_THROW(backUp(), PlatformError);
    library.files().heal();
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("backup.tar"));
    EXPECT_EQ(readFile(backup), "the backup of yesterday");
    EXPECT_TRUE(backUp().isHealthy());
}

TEST_F(StoreBackupTest, KeepsTheFormerLibraryAside) {
    backUp();
    writeFile(elsewhere, "");
    writeFile(folder.path("group/Library/diary"), "mine");
    const std::string aside = restore(elsewhere);
    EXPECT_EQ(readFile(joinedPath(aside, "diary")), "mine");
    EXPECT_THAT(namesIn(folder.path("group")),
                ElementsAre("Library", "Library before 2027-01-15 08.00.00"));
}

TEST_F(StoreBackupTest, KeepsTheFormerLibraryAsideOnAnOlderFileSystem) {
    backUp();
    library.files().forgetSwap();
    writeFile(folder.path("group/Library/diary"), "mine");
    EXPECT_EQ(readFile(joinedPath(restore(elsewhere), "diary")), "mine");
    EXPECT_THAT(kinds(inspectAt(elsewhere)), IsEmpty());
}

TEST_F(StoreBackupTest, LeavesTheFormerLibraryWhenTheRestoredOneCannotTakeItsPlace) {
    backUp();
    library.files().forgetSwap();
    writeFile(folder.path("group/Library/diary"), "mine");
    library.files().fail({.operation = FileOperation::rename,
                          .pathPattern = "*/Library",
                          .after = 2,
                          .onlyOnce = true});
    EXPECT_THROW(restore(elsewhere), PlatformError);
    EXPECT_EQ(readFile(folder.path("group/Library/diary")), "mine");
    EXPECT_THAT(namesIn(folder.path("group")), ElementsAre("Library"));
}

TEST_F(StoreBackupTest, IsNotRestoredOverAStoreThatIsOpen) {
    backUp();
    EXPECT_THAT([&] { restore(library.storePath()); },
                ThrowsMessage<PlatformError>(HasSubstr("is open in another program")));
    EXPECT_THAT(kinds(inspect()), IsEmpty());
}

TEST_F(StoreBackupTest, NoticesEveryByteThatIsNotAsItWasWritten) {
    backUp();
    const std::string bytes = readFile(backup);
    std::size_t unnoticed = 0;
    for (std::size_t at = 0; at < bytes.size(); at += 512 * 79 + 11) {
        if (bytes[at] == '\0') continue;  // perhaps padding between the files, which means nothing
        std::string changed = bytes;
        changed[at] ^= 0x20;
        writeFile(backup, changed);
        SeededRandom random(23);
        StoreRestore restore(
            librarySchema(), library.files(), library.clock(), random, elsewhere, {marker});
        try {
            unnoticed += restore.unpack(backup, {}).isHealthy() ? 1 : 0;
        } catch (const PlatformError& error) {
            EXPECT_THAT(error.what(), HasSubstr("isn’t a whole backup")) << at;
        }
    }
    EXPECT_EQ(unnoticed, 0U);
    EXPECT_THAT(namesIn(folder.path("group")), IsEmpty());
}

TEST_F(StoreBackupTest, NoticesThatItEndsTooEarly) {
    backUp();
    const std::string bytes = readFile(backup);
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{700}, bytes.size() / 2, bytes.size() - 1024 - 512}) {
        writeFile(backup, std::string_view(bytes).substr(0, size));
        EXPECT_THAT([&] { restore(elsewhere); },
                    ThrowsMessage<PlatformError>(HasSubstr("isn’t a whole backup")));
    }
    EXPECT_THAT(namesIn(folder.path("group")), IsEmpty());
}

TEST_F(StoreBackupTest, WritesNothingOutsideOfTheLibrary) {
    for (const char* name : {"../../escaped", "/tmp/escaped", "sub/escaped", "Kelto.store/x"}) {
        {
            PosixFileSystem files;
            std::filesystem::remove(backup);
            const auto file = files.create(backup);
            BackupWriter archive(*file, {});
            (void)archive.add(name, 1, [](const auto& sink) { sink(bytesOf("x")); });
            archive.finish();
        }
        EXPECT_THAT([&] { restore(elsewhere); },
                    ThrowsMessage<PlatformError>(HasSubstr("what no backup holds")));
    }
    EXPECT_FALSE(exists(folder.path("escaped")));
    EXPECT_THAT(namesIn(folder.path("group")), IsEmpty());
}

TEST(BackupArchive, CarriesSizesBeyondEightGigabytes) {
    // Only the header: nobody waits for so many bytes in a test.
    TemporaryFolder folder;
    PosixFileSystem files;
    struct Enough {};
    const std::uint64_t size = (std::uint64_t{1} << 40) + 7;
    try {
        const auto file = files.create(folder.path("big"));
        BackupWriter archive(*file, {});
        (void)archive.add("big", size, [](const auto&) { throw Enough(); });
    } catch (const Enough&) {
    }
    const auto file = files.openForReading(folder.path("big"));
    EXPECT_EQ(BackupReader(*file).next()->size, size);
}

}  // namespace
}  // namespace kelto
