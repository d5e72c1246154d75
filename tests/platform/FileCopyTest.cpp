#include <atomic>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include "kelto/platform/HashingCopy.hpp"
#include "kelto/platform/QuietThread.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/platform/ErrorExpectation.hpp"
#include "tests/support/FaultyFileSystem.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/SeededRandom.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {
namespace {

constexpr std::size_t buffer = HashingCopy::bufferBytes;
constexpr std::size_t shortFile = HashingCopy::shortFileBytes;

/// Bytes of which no two stretches are alike, so that none can stand in another's place unseen.
/// Made once: there are many megabytes of them.
std::string differingBytes(std::size_t size) {
    static SeededRandom random(1);
    static std::string made;
    while (made.size() < size) {
        const std::uint64_t bits = random.bits();
        made.append(reinterpret_cast<const char*>(&bits), sizeof bits);
    }
    return made.substr(0, size);
}

class FileCopyTest : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<File> source(const std::string& bytes) {
        return files.openForReading(folder.write("source", bytes));
    }
    [[nodiscard]] std::unique_ptr<File> destination() {
        files.remove(folder.path("destination"));
        return files.create(folder.path("destination"));
    }

    TemporaryFolder folder;
    FaultyFileSystem files{std::make_shared<PosixFileSystem>()};
    HashingCopy copy;
};

class FileCopySizeTest : public FileCopyTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FileCopySizeTest, CopiesAndHashesEveryByte) {
    const std::string bytes = differingBytes(GetParam());
    const auto copied = copy.copy({}, *source(bytes), *destination(), File::Reading::perhaps);
    EXPECT_EQ(copied.size, bytes.size());
    EXPECT_EQ(copied.digest, sha256(bytes));
    EXPECT_TRUE(folder.read("destination") == bytes);
}

TEST_P(FileCopySizeTest, GoesOnBehindWhatWasReadBefore) {
    const std::string bytes = differingBytes(GetParam());
    const auto from = source(bytes);
    const Bytes head = copy.firstBuffer().first(from->read(copy.firstBuffer()));
    const auto copied = copy.copy(head, *from, *destination(), File::Reading::soon);
    EXPECT_EQ(copied.size, bytes.size());
    EXPECT_EQ(copied.digest, sha256(bytes));
    EXPECT_TRUE(folder.read("destination") == bytes);
}

TEST_P(FileCopySizeTest, CopiesEveryByteWithoutLookingAtIt) {
    const std::string bytes = differingBytes(GetParam());
    EXPECT_EQ(destination()->copyFrom(*source(bytes)), bytes.size());
    EXPECT_TRUE(folder.read("destination") == bytes);
}

INSTANTIATE_TEST_SUITE_P(AroundEachBorder,
                         FileCopySizeTest,
                         testing::Values(0,
                                         1,
                                         buffer - 1,
                                         buffer,
                                         buffer + 1,
                                         shortFile,
                                         shortFile + 1,
                                         shortFile + 9 * buffer,
                                         5 * File::syncStrideBytes + 7));

TEST_F(FileCopyTest, CopiesFromOnePositionToTheOther) {
    const auto from = source("headbody");
    std::array<std::byte, 4> head{};
    ASSERT_EQ(from->read(head), head.size());
    const auto to = destination();
    to->write(bytesOf("new "));
    EXPECT_EQ(to->copyFrom(*from), 4U);
    to->write(bytesOf(" end"));
    EXPECT_EQ(folder.read("destination"), "new body end");
}

TEST_F(FileCopyTest, MakesACopyThatIsIndependent) {
    const auto to = destination();
    to->copyFrom(*source("before"));
    folder.write("source", "after ");
    EXPECT_EQ(folder.read("destination"), "before");
}

TEST_F(FileCopyTest, CopiesWhatTheKernelDoesNotCopyByItself) {
    // A file of the kernel's own says that it is empty, and lies in another file system.
    const auto from = files.openForReading("/proc/version");
    EXPECT_GT(destination()->copyFrom(*from), 0U);
    EXPECT_EQ(folder.read("destination"), readFile("/proc/version"));
}

TEST_F(FileCopyTest, NamesTheFileThatCannotBeWritten) {
    const auto full = PosixFileSystem().openForReading("/proc/version");
    EXPECT_THROW_FILE_ERROR(full->copyFrom(*source("bytes")), 512, EBADF);
}

TEST_F(FileCopyTest, GivesUpWhereReadingFailsInALongFile) {
    const auto from = source(differingBytes(shortFile + 9 * buffer));
    files.fail({.operation = FileOperation::fileRead, .after = shortFile / buffer + 3});
    EXPECT_THROW_FILE_ERROR(
        (void)copy.copy({}, *from, *destination(), File::Reading::perhaps), 256, EIO);
}

TEST_F(FileCopyTest, GivesUpWhereWritingFailsInALongFile) {
    const auto from = source(differingBytes(shortFile + 9 * buffer));
    files.fail({.operation = FileOperation::fileWrite,
                .after = shortFile / buffer + 3,
                .errorNumber = ENOSPC});
    EXPECT_THROW_FILE_ERROR(
        (void)copy.copy({}, *from, *destination(), File::Reading::perhaps), 640, ENOSPC);
    files.heal();
    const auto copied = copy.copy({}, *source("next"), *destination(), File::Reading::perhaps);
    EXPECT_EQ(copied.digest, sha256("next")) << "nothing is left of the failed one";
}

TEST(QuietThreadTest, RunsWithoutTheHostsSignalsAndEndsBeforeItsOwner) {
    sigset_t blocked{};
    std::atomic<bool> hasRun = false;
    {
        const QuietThread thread([&] {
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            hasRun = true;
        });
    }
    EXPECT_TRUE(hasRun);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(sigismember(&blocked, SIGCHLD), 1);
    sigset_t mine{};
    pthread_sigmask(SIG_SETMASK, nullptr, &mine);
    EXPECT_EQ(sigismember(&mine, SIGTERM), 0);
}

}  // namespace
}  // namespace kelto
