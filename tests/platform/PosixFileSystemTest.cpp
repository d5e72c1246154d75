#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <future>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/linux/PosixFile.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/platform/ErrorExpectation.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// The process's umask for the length of a test.
class Umask {
public:
    explicit Umask(mode_t mask) : before_(::umask(mask)) {}
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    ~Umask() { ::umask(before_); }

private:
    mode_t before_;
};

mode_t modeOf(const std::string& path) {
    struct stat answer {};
    return ::lstat(path.c_str(), &answer) == 0 ? answer.st_mode & 07777 : 0;
}

class PosixFileSystemTest : public testing::Test {
protected:
    std::string readAll(const std::string& path) {
        const auto file = files.openForReading(path);
        std::string contents(1'000'000, '\0');
        contents.resize(file->read(std::as_writable_bytes(std::span(contents))));
        return contents;
    }
    void createFile(const std::string& path, std::string_view contents) {
        files.create(path)->write(bytesOf(contents));
    }
    void makeSocket(const std::string& path) {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(path.size(), sizeof address.sun_path);
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::close(socket);
    }

    TemporaryFolder folder;
    PosixFileSystem files;
};

TEST_F(PosixFileSystemTest, ReadsAFileFromItsStart) {
    EXPECT_EQ(readAll(folder.write("a", "some bytes")), "some bytes");
}

TEST_F(PosixFileSystemTest, ReadsInPieces) {
    const auto file = files.openForReading(folder.write("a", "abcde"));
    std::array<std::byte, 3> piece{};
    EXPECT_EQ(file->read(piece), 3U);
    EXPECT_EQ(textOf(piece), "abc");
    EXPECT_EQ(file->read(piece), 2U);
    EXPECT_EQ(file->read(piece), 0U);
}

TEST_F(PosixFileSystemTest, FollowsALinkWhenItReads) {
    std::filesystem::create_symlink(folder.write("a", "target"), folder.path("link"));
    EXPECT_EQ(readAll(folder.path("link")), "target");
}

TEST_F(PosixFileSystemTest, TellsAMissingFile) {
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(folder.path("none")), 260, ENOENT);
}

TEST_F(PosixFileSystemTest, RefusesToReadAFolder) {
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(folder.path()), 256, EISDIR);
}

TEST_F(PosixFileSystemTest, RefusesADevice) {
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading("/dev/zero"), 257, EACCES);
}

TEST_F(PosixFileSystemTest, RefusesASocket) {
    const std::string path = folder.path("socket");
    ASSERT_NO_FATAL_FAILURE(makeSocket(path));
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(path), 257, EACCES);
}

TEST_F(PosixFileSystemTest, RefusesAFifoWithoutWaitingForAWriter) {
    const std::string path = folder.path("fifo");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    auto attempt = std::async(std::launch::async, [&] {
        EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(path), 257, EACCES);
    });
    const auto outcome = attempt.wait_for(std::chrono::seconds(20));
    // A writer frees a reader that hangs, so that the test can end in either case.
    if (outcome != std::future_status::ready) ::close(::open(path.c_str(), O_WRONLY));
    EXPECT_EQ(outcome, std::future_status::ready);
}

TEST_F(PosixFileSystemTest, CreatesAFileWithWhatIsWritten) {
    const auto file = files.create(folder.path("new"));
    file->write(bytesOf("one "));
    file->write(bytesOf("two"));
    file->sync();
    EXPECT_EQ(folder.read("new"), "one two");
    EXPECT_EQ(file->status().size, 7U);
}

TEST_F(PosixFileSystemTest, NeverReplacesAFileWhenItCreatesOne) {
    const std::string path = folder.write("a", "old");
    EXPECT_THROW_FILE_ERROR(std::ignore = files.create(path), 516, EEXIST);
    EXPECT_EQ(folder.read("a"), "old");
}

TEST_F(PosixFileSystemTest, NeverCreatesAFileThroughALink) {
    std::filesystem::create_symlink(folder.path("target"), folder.path("link"));
    EXPECT_THROW_FILE_ERROR(std::ignore = files.create(folder.path("link")), 516, EEXIST);
    EXPECT_FALSE(std::filesystem::exists(folder.path("target")));
}

TEST_F(PosixFileSystemTest, TellsTheMissingFolderOfANewFile) {
    EXPECT_THROW_FILE_ERROR(std::ignore = files.create(folder.path("none/a")), 4, ENOENT);
}

class PosixModes : public PosixFileSystemTest, public testing::WithParamInterface<mode_t> {};

TEST_P(PosixModes, MakesFilesPrivateWhateverTheUmask) {
    const Umask umask(GetParam());
    createFile(folder.path("a"), "x");
    EXPECT_EQ(modeOf(folder.path("a")), 0600U);
}

TEST_P(PosixModes, MakesFoldersPrivateWhateverTheUmask) {
    const Umask umask(GetParam());
    files.createFolders(folder.path("a/b"));
    EXPECT_EQ(modeOf(folder.path("a")), 0700U);
    EXPECT_EQ(modeOf(folder.path("a/b")), 0700U);
}

INSTANTIATE_TEST_SUITE_P(Umasks, PosixModes, testing::Values(0, 022, 077, 0277, 0777));

TEST_F(PosixFileSystemTest, DescribesAFile) {
    const std::string path = folder.write("a", "12345");
    struct stat expected {};
    ASSERT_EQ(::stat(path.c_str(), &expected), 0);
    const auto status = files.status(path);
    ASSERT_TRUE(status.has_value());
    EXPECT_EQ(status->kind, FileStatus::Kind::regular);
    EXPECT_EQ(status->size, 5U);
    EXPECT_EQ(status->device, expected.st_dev);
    EXPECT_EQ(status->inode, expected.st_ino);
    EXPECT_EQ(status->modifiedNanoseconds,
              expected.st_mtim.tv_sec * 1'000'000'000 + expected.st_mtim.tv_nsec);
    EXPECT_EQ(status->changedNanoseconds,
              expected.st_ctim.tv_sec * 1'000'000'000 + expected.st_ctim.tv_nsec);
}

TEST_F(PosixFileSystemTest, DescribesAnOpenFileAsItsPath) {
    const std::string path = folder.write("a", "12345");
    EXPECT_EQ(files.openForReading(path)->status(), files.status(path));
}

TEST_F(PosixFileSystemTest, TellsFoldersAndOtherThingsApart) {
    ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(files.status(folder.path())->kind, FileStatus::Kind::folder);
    EXPECT_EQ(files.status(folder.path("fifo"))->kind, FileStatus::Kind::other);
}

TEST_F(PosixFileSystemTest, FindsNothingWhereNothingStands) {
    EXPECT_EQ(files.status(folder.path("none")), std::nullopt);
    EXPECT_EQ(files.status(folder.write("file", "") + "/below"), std::nullopt);
    EXPECT_EQ(files.status(folder.path("file/")), std::nullopt);
}

TEST_F(PosixFileSystemTest, FindsNothingBehindALinkThatLeadsNowhere) {
    std::filesystem::create_symlink(folder.path("none"), folder.path("dangling"));
    std::filesystem::create_symlink(folder.path("loop"), folder.path("loop"));
    EXPECT_EQ(files.status(folder.path("dangling")), std::nullopt);
    EXPECT_EQ(files.status(folder.path("loop")), std::nullopt);
}

TEST_F(PosixFileSystemTest, ResolvesEveryLink) {
    files.createFolders(folder.path("real"));
    folder.write("real/file", "");
    std::filesystem::create_symlink(folder.path("real"), folder.path("link"));
    EXPECT_EQ(files.resolvedPath(folder.path("link/../link/./file")), folder.path("real/file"));
}

TEST_F(PosixFileSystemTest, ResolvesNoPathThatDoesNotExistAsAWhole) {
    EXPECT_EQ(files.resolvedPath(folder.path("none")), std::nullopt);
    std::filesystem::create_symlink(folder.path("none"), folder.path("dangling"));
    EXPECT_EQ(files.resolvedPath(folder.path("dangling")), std::nullopt);
}

TEST_F(PosixFileSystemTest, ListsAFolder) {
    folder.write("a", "");
    folder.write(".hidden", "");
    files.createFolders(folder.path("b"));
    EXPECT_THAT(files.list(folder.path()), UnorderedElementsAre("a", ".hidden", "b"));
}

TEST_F(PosixFileSystemTest, TellsThatAMissingFolderCannotBeListed) {
    EXPECT_THROW_FILE_ERROR(std::ignore = files.list(folder.path("none")), 260, ENOENT);
}

TEST_F(PosixFileSystemTest, KnowsTheCurrentFolder) {
    EXPECT_EQ(files.currentFolder(), std::filesystem::current_path().string());
}

TEST_F(PosixFileSystemTest, CreatesAllFoldersThatAreMissing) {
    files.createFolders(folder.path("a/b/c"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("a/b/c")));
}

TEST_F(PosixFileSystemTest, CreatesFoldersAlongAPathThatIsNotStandard) {
    files.createFolders(folder.path("x/../y//z/"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("x")));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("y/z")));
}

TEST_F(PosixFileSystemTest, LeavesAnExistingFolderAsItIs) {
    files.createFolders(folder.path("a"));
    ASSERT_EQ(::chmod(folder.path("a").c_str(), 0755), 0);
    files.createFolders(folder.path("a"));
    EXPECT_EQ(modeOf(folder.path("a")), 0755U);
}

TEST_F(PosixFileSystemTest, TakesALinkToAFolderForTheFolder) {
    files.createFolders(folder.path("real"));
    std::filesystem::create_symlink(folder.path("real"), folder.path("link"));
    EXPECT_NO_THROW(files.createFolders(folder.path("link")));
    files.createFolders(folder.path("link/below"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("real/below")));
}

TEST_F(PosixFileSystemTest, MakesNoFolderInThePlaceOfAFile) {
    const std::string path = folder.write("file", "");
    EXPECT_THROW_FILE_ERROR(files.createFolders(path), 516, EEXIST);
}

TEST_F(PosixFileSystemTest, MakesNoFolderBelowAFile) {
    const std::string path = folder.write("file", "") + "/a/b";
    EXPECT_THROW_FILE_ERROR(files.createFolders(path), 512, ENOTDIR);
}

TEST_F(PosixFileSystemTest, MakesNoFolderWithoutAName) {
    EXPECT_THROW_FILE_ERROR(files.createFolders(""), 4, ENOENT);
}

TEST_F(PosixFileSystemTest, RenamesOverAnExistingFile) {
    const std::string from = folder.write("from", "new");
    files.rename(from, folder.write("to", "old"));
    EXPECT_EQ(folder.read("to"), "new");
    EXPECT_EQ(files.status(from), std::nullopt);
}

TEST_F(PosixFileSystemTest, ReplacesALinkRatherThanItsTarget) {
    std::filesystem::create_symlink(folder.write("target", "untouched"), folder.path("link"));
    files.rename(folder.write("from", "new"), folder.path("link"));
    EXPECT_EQ(folder.read("target"), "untouched");
    EXPECT_EQ(folder.read("link"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(folder.path("link")));
}

TEST_F(PosixFileSystemTest, NamesTheFileThatIsMissingInARename) {
    try {
        files.rename(folder.path("gone"), folder.path("to"));
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.localizedDescription(), HasSubstr("“gone”"));
    }
}

TEST_F(PosixFileSystemTest, TellsThatAFolderStandsInTheWayOfARename) {
    files.createFolders(folder.path("to"));
    const std::string from = folder.write("from", "");
    EXPECT_THROW_FILE_ERROR(files.rename(from, folder.path("to")), 512, EISDIR);
}

TEST_F(PosixFileSystemTest, RemovesAFile) {
    const std::string path = folder.write("a", "");
    files.remove(path);
    EXPECT_EQ(files.status(path), std::nullopt);
}

TEST_F(PosixFileSystemTest, RemovesALinkAndNotItsTarget) {
    std::filesystem::create_symlink(folder.write("target", "kept"), folder.path("link"));
    files.remove(folder.path("link"));
    EXPECT_FALSE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_EQ(folder.read("target"), "kept");
}

TEST_F(PosixFileSystemTest, FindsItFineThatThereIsNothingToRemove) {
    EXPECT_NO_THROW(files.remove(folder.path("none")));
    EXPECT_NO_THROW(files.remove(folder.path("none/below")));
    EXPECT_NO_THROW(files.remove(folder.write("file", "") + "/below"));
}

TEST_F(PosixFileSystemTest, NeverRemovesAFolder) {
    files.createFolders(folder.path("a"));
    EXPECT_THROW_FILE_ERROR(files.remove(folder.path("a")), 512, EISDIR);
}

TEST_F(PosixFileSystemTest, FlushesAFolder) {
    EXPECT_NO_THROW(files.syncFolder(folder.path()));
    EXPECT_THROW_FILE_ERROR(files.syncFolder(folder.path("none")), 4, ENOENT);
}

TEST_F(PosixFileSystemTest, FindsNothingUnderAPathWithANul) {
    folder.write("a", "not this one");
    const std::string path = folder.path("a\0b"s);
    EXPECT_EQ(files.status(path), std::nullopt);
    EXPECT_EQ(files.resolvedPath(path), std::nullopt);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(path), 260, ENOENT);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.list(path), 260, ENOENT);
}

TEST_F(PosixFileSystemTest, ChangesNothingUnderAPathWithANul) {
    const std::string other = folder.write("a", "untouched");
    const std::string path = folder.path("a\0b"s);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.create(path), 4, ENOENT);
    EXPECT_THROW_FILE_ERROR(files.createFolders(path), 4, ENOENT);
    EXPECT_THROW_FILE_ERROR(files.rename(path, folder.path("to")), 4, ENOENT);
    EXPECT_THROW_FILE_ERROR(files.rename(other, path), 4, ENOENT);
    EXPECT_THROW_FILE_ERROR(files.syncFolder(path), 4, ENOENT);
    files.remove(path);
    EXPECT_EQ(folder.read("a"), "untouched");
}

TEST_F(PosixFileSystemTest, TakesNamesOf255Bytes) {
    const std::string path = folder.path(std::string(255, 'n'));
    createFile(path, "long");
    EXPECT_EQ(readAll(path), "long");
}

TEST_F(PosixFileSystemTest, RefusesNamesOf256Bytes) {
    const std::string path = folder.path(std::string(256, 'n'));
    EXPECT_THROW_FILE_ERROR(std::ignore = files.create(path), 514, ENAMETOOLONG);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openForReading(path), 258, ENAMETOOLONG);
    EXPECT_EQ(files.status(path), std::nullopt);
}

TEST_F(PosixFileSystemTest, TellsThatTheDiskIsFull) {
    // The one device that takes no byte; our own functions would not open it.
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full on this machine";
    PosixFile full(FileDescriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC)), "/dev/full");
    EXPECT_THROW_FILE_ERROR(full.write(bytesOf("x")), 640, ENOSPC);
}

}  // namespace
}  // namespace kelto
