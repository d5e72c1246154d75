#include <cerrno>
#include <filesystem>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "kelto/platform/linux/PosixFolder.hpp"
#include "tests/platform/ErrorExpectation.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;

class PosixFolderTest : public testing::Test {
protected:
    static std::string readAll(File& file) {
        std::string contents(100, '\0');
        contents.resize(file.read(std::as_writable_bytes(std::span(contents))));
        return contents;
    }

    TemporaryFolder temporary;
    PosixFileSystem files;
};

TEST_F(PosixFolderTest, OpensAFileByItsName) {
    const std::string path = temporary.write("a", "abcde");
    const auto file = files.openFolder(temporary.path())->openForReading("a");
    EXPECT_EQ(readAll(*file), "abcde");
    EXPECT_EQ(file->path(), path);
}

TEST_F(PosixFolderTest, SaysOfAFileWhatTheFileSystemSays) {
    const std::string path = temporary.write("a", "abcde");
    EXPECT_EQ(files.openFolder(temporary.path())->status("a"), files.status(path));
}

TEST_F(PosixFolderTest, KnowsThatNothingStandsThere) {
    EXPECT_EQ(files.openFolder(temporary.path())->status("none"), std::nullopt);
}

TEST_F(PosixFolderTest, FollowsNoLink) {
    temporary.write("a", "abcde");
    fs::create_symlink(temporary.path("a"), temporary.path("link"));
    const auto folder = files.openFolder(temporary.path());
    EXPECT_EQ(folder->status("link")->kind, FileStatus::Kind::link);
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->openForReading("link"), 256, ELOOP);
}

TEST_F(PosixFolderTest, LeadsNowhereElse) {
    temporary.write("a", "abcde");
    writeFile(temporary.path("sub/b"), "b");
    const auto folder = files.openFolder(temporary.path("sub"));
    for (const std::string name : {"../a", "..", ".", "", "b/", "/etc/hostname"}) {
        EXPECT_EQ(folder->status(name), std::nullopt) << name;
        EXPECT_THROW_FILE_ERROR(std::ignore = folder->openForReading(name), 260, ENOENT);
    }
    EXPECT_EQ(folder->status(std::string("b\0c", 3)), std::nullopt);
    EXPECT_EQ(folder->status(std::string(5000, 'x')), std::nullopt);
}

TEST_F(PosixFolderTest, StaysWithTheFolderWhenItsPathLeadsElsewhere) {
    writeFile(temporary.path("first/a"), "first");
    writeFile(temporary.path("second/a"), "second");
    const auto folder = files.openFolder(temporary.path("first"));
    fs::rename(temporary.path("first"), temporary.path("moved"));
    fs::create_directory_symlink(temporary.path("second"), temporary.path("first"));
    EXPECT_EQ(readAll(*folder->openForReading("a")), "first");
}

TEST_F(PosixFolderTest, IsNotOpenedThroughALink) {
    writeFile(temporary.path("real/sub/a"), "abcde");
    fs::create_directory_symlink(temporary.path("real"), temporary.path("link"));
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openFolder(temporary.path("link/sub")), 256, ELOOP);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openFolder(temporary.path("link")), 256, ELOOP);
}

TEST_F(PosixFolderTest, IsAFolder) {
    const std::string path = temporary.write("a", "abcde");
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openFolder(path), 256, ENOTDIR);
    EXPECT_THROW_FILE_ERROR(std::ignore = files.openFolder(temporary.path("none")), 260, ENOENT);
}

TEST_F(PosixFolderTest, RefusesToOpenWhatIsNoFile) {
    ASSERT_EQ(::mkfifo(temporary.path("pipe").c_str(), 0600), 0);
    fs::create_directory(temporary.path("sub"));
    const auto folder = files.openFolder(temporary.path());
    EXPECT_EQ(folder->status("pipe")->kind, FileStatus::Kind::other);
    EXPECT_EQ(folder->status("sub")->kind, FileStatus::Kind::folder);
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->openForReading("pipe"), 257, EACCES);
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->openForReading("sub"), 256, EISDIR);
}

// --- Writing
// --------------------------------------------------------------------------------------

TEST_F(PosixFolderTest, MakesAFileForTheUserAlone) {
    const mode_t before = ::umask(0);
    const auto folder = files.openFolder(temporary.path());
    const auto file = folder->create("new");
    (void)::umask(0777);
    (void)folder->create("other");
    (void)::umask(before);
    file->write(bytesOf("bytes"));
    EXPECT_EQ(temporary.read("new"), "bytes");
    EXPECT_EQ(file->path(), temporary.path("new"));
    for (const char* name : {"new", "other"}) {
        EXPECT_EQ(fs::status(temporary.path(name)).permissions(), fs::perms(0600)) << name;
    }
}

TEST_F(PosixFolderTest, MakesNoFileWhereAnythingStands) {
    temporary.write("a", "abcde");
    fs::create_symlink(temporary.path("missing"), temporary.path("link"));
    const auto folder = files.openFolder(temporary.path());
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->create("a"), 516, EEXIST);
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->create("link"), 516, EEXIST);
    EXPECT_THROW_FILE_ERROR(std::ignore = folder->create("../b"), 4, ENOENT);
    EXPECT_EQ(temporary.read("a"), "abcde");
    EXPECT_FALSE(exists(temporary.path("missing")));
}

TEST_F(PosixFolderTest, RenamesInItselfAndReplacesALink) {
    temporary.write("a", "abcde");
    temporary.write("outside", "mine");
    fs::create_symlink(temporary.path("outside"), temporary.path("link"));
    const auto folder = files.openFolder(temporary.path());
    folder->rename("a", "link");
    EXPECT_EQ(temporary.read("link"), "abcde");
    EXPECT_EQ(temporary.read("outside"), "mine");
    EXPECT_THROW_FILE_ERROR(folder->rename("a", "b"), 4, ENOENT);
    EXPECT_THROW_FILE_ERROR(folder->rename("link", "../b"), 4, ENOENT);
    fs::create_directory(temporary.path("sub"));
    EXPECT_THROW_FILE_ERROR(folder->rename("link", "sub"), 512, EISDIR);
}

TEST_F(PosixFolderTest, RemovesAFileOrALinkAndNoFolder) {
    temporary.write("a", "abcde");
    fs::create_symlink(temporary.path("a"), temporary.path("link"));
    fs::create_directory(temporary.path("sub"));
    const auto folder = files.openFolder(temporary.path());
    folder->remove("link");
    EXPECT_EQ(temporary.read("a"), "abcde");
    folder->remove("a");
    folder->remove("a");  // that nothing stands there is fine
    EXPECT_THROW_FILE_ERROR(folder->remove("sub"), 512, EISDIR);
    EXPECT_EQ(namesIn(temporary.path()), std::vector<std::string>{"sub"});
}

TEST_F(PosixFolderTest, WritesIntoTheFolderWhereverItsPathLeads) {
    fs::create_directory(temporary.path("first"));
    fs::create_directory(temporary.path("second"));
    const auto folder = files.openFolder(temporary.path("first"));
    fs::rename(temporary.path("first"), temporary.path("moved"));
    fs::create_directory_symlink(temporary.path("second"), temporary.path("first"));
    folder->create("a")->write(bytesOf("abcde"));
    folder->rename("a", "b");
    EXPECT_EQ(temporary.read("moved/b"), "abcde");
    EXPECT_TRUE(fs::is_empty(temporary.path("second")));
}

// Where the kernel cannot refuse links in one call:

TEST_F(PosixFolderTest, IsReachedByWalkingAsWell) {
    writeFile(temporary.path("real/sub/a"), "abcde");
    EXPECT_TRUE(folderByWalking(temporary.path("real/sub")).isOpen());
    EXPECT_TRUE(folderByWalking("/").isOpen());
    EXPECT_FALSE(folderByWalking(temporary.path("real/none")).isOpen());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(PosixFolderTest, WalksOverNoLink) {
    writeFile(temporary.path("real/sub/a"), "abcde");
    fs::create_directory_symlink(temporary.path("real"), temporary.path("link"));
    EXPECT_FALSE(folderByWalking(temporary.path("link/sub")).isOpen());
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(folderByWalking(temporary.path("real/sub/a")).isOpen());
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(PosixFolderTest, IsHeldByManyOrByOneAlone) {
    const auto open = [&] { return files.openFolder(temporary.path()); };
    const auto one = open();
    const auto other = open();
    EXPECT_TRUE(one->hold(Folder::Hold::together));
    EXPECT_TRUE(other->hold(Folder::Hold::together));
    EXPECT_FALSE(open()->hold(Folder::Hold::alone));
    {
        const auto alone = files.openFolder(temporary.path());
        EXPECT_FALSE(alone->hold(Folder::Hold::alone));
    }
    EXPECT_FALSE(one->hold(Folder::Hold::alone)) << "the other holds it still";
}

TEST_F(PosixFolderTest, IsFreeAgainOnceItIsClosed) {
    { EXPECT_TRUE(files.openFolder(temporary.path())->hold(Folder::Hold::alone)); }
    EXPECT_TRUE(files.openFolder(temporary.path())->hold(Folder::Hold::alone));
}

}  // namespace
}  // namespace kelto
