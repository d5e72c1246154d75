#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/platform/FileTransfer.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/platform/ErrorExpectation.hpp"
#include "tests/support/FaultyFileSystem.hpp"
#include "tests/support/SeededRandom.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class FileTransferTest : public testing::Test {
protected:
    void replace(std::string_view contents, Durability durability = Durability::flushed) {
        writeAtomically(
            files, random, target, durability, [&](File& file) { file.write(bytesOf(contents)); });
    }

    TemporaryFolder folder;
    FaultyFileSystem files{std::make_shared<PosixFileSystem>()};
    SeededRandom random{1};
    const std::string target = folder.path("target");
};

TEST_F(FileTransferTest, ReadsAWholeFile) {
    const std::string contents(transferBufferBytes + 7, 'x');
    EXPECT_EQ(readWholeFile(files, folder.write("a", contents), contents.size()), contents);
}

TEST_F(FileTransferTest, ReadsAnEmptyFile) {
    EXPECT_EQ(readWholeFile(files, folder.write("a", ""), 0), "");
}

TEST_F(FileTransferTest, RefusesAFileBeyondTheLimit) {
    const std::string path = folder.write("a", "12345");
    EXPECT_THROW_FILE_ERROR(std::ignore = readWholeFile(files, path, 4), 256, EFBIG);
}

TEST_F(FileTransferTest, ReadsAFileThatDoesNotKnowItsSize) {
    // The kernel's own files say that they are empty.
    EXPECT_FALSE(readWholeFile(files, "/proc/self/status", 1'000'000).empty());
    EXPECT_THROW_FILE_ERROR(std::ignore = readWholeFile(files, "/proc/self/status", 3), 256, EFBIG);
}

TEST_F(FileTransferTest, WritesANewFile) {
    replace("contents");
    EXPECT_EQ(folder.read("target"), "contents");
    EXPECT_THAT(files.list(folder.path()), ElementsAre("target"));
}

TEST_F(FileTransferTest, ReplacesAFile) {
    folder.write("target", "old");
    replace("new");
    EXPECT_EQ(folder.read("target"), "new");
}

TEST_F(FileTransferTest, ReplacesALinkRatherThanItsTarget) {
    std::filesystem::create_symlink(folder.write("elsewhere", "untouched"), target);
    replace("new");
    EXPECT_EQ(folder.read("elsewhere"), "untouched");
    EXPECT_EQ(folder.read("target"), "new");
}

TEST_F(FileTransferTest, ReplacesAFileWhoseNameHas255Bytes) {
    const std::string name(255, 'n');
    writeAtomically(files, random, folder.path(name), Durability::relaxed, [](File& file) {
        file.write(bytesOf("long"));
    });
    EXPECT_EQ(folder.read(name), "long");
}

TEST_F(FileTransferTest, FlushesTheFileAndItsFolder) {
    replace("contents", Durability::flushed);
    EXPECT_EQ(files.count(FileOperation::fileSync), 1U);
    EXPECT_EQ(files.count(FileOperation::syncFolder), 1U);
}

TEST_F(FileTransferTest, FlushesNothingWhenThatIsNotNeeded) {
    replace("contents", Durability::relaxed);
    EXPECT_EQ(files.count(FileOperation::fileSync), 0U);
    EXPECT_EQ(files.count(FileOperation::syncFolder), 0U);
}

TEST_F(FileTransferTest, PassesOnWhatTheWriterThrowsAndCleansUp) {
    folder.write("target", "old");
    const auto fill = [](File& file) {
        file.write(bytesOf("half"));
        throw std::runtime_error("no more");
    };
    EXPECT_THROW(writeAtomically(files, random, target, Durability::relaxed, fill),
                 std::runtime_error);
    EXPECT_EQ(folder.read("target"), "old");
    EXPECT_THAT(files.list(folder.path()), ElementsAre("target"));
}

TEST_F(FileTransferTest, ReportsTheFirstFailureWhenCleaningUpFailsToo) {
    files.fail({.operation = FileOperation::fileWrite, .errorNumber = ENOSPC});
    files.fail({.operation = FileOperation::remove, .errorNumber = EROFS});
    EXPECT_THROW_FILE_ERROR(replace("new"), 640, ENOSPC);
}

class FailedReplacement : public FileTransferTest,
                          public testing::WithParamInterface<FileOperation> {};

TEST_P(FailedReplacement, LeavesTheOldFileAndNoTemporary) {
    folder.write("target", "old");
    files.fail({.operation = GetParam(), .errorNumber = ENOSPC});
    EXPECT_THROW_FILE_ERROR(replace("new"), 640, ENOSPC);
    EXPECT_EQ(folder.read("target"), "old");
    EXPECT_THAT(files.list(folder.path()), ElementsAre("target"));
}

INSTANTIATE_TEST_SUITE_P(Operations,
                         FailedReplacement,
                         testing::Values(FileOperation::create,
                                         FileOperation::fileWrite,
                                         FileOperation::fileSync,
                                         FileOperation::rename));

TEST_F(FileTransferTest, FlushesTheFolderAboveEachFolderThatItMakes) {
    createFoldersDurably(files, folder.path("a/b/c"));
    EXPECT_EQ(files.status(folder.path("a/b/c"))->kind, FileStatus::Kind::folder);
    EXPECT_EQ(files.count(FileOperation::syncFolder), 3U);
    createFoldersDurably(files, folder.path("a/b/c"));
    EXPECT_EQ(files.count(FileOperation::syncFolder), 3U) << "there is nothing new";
}

TEST_F(FileTransferTest, MakesNoFolderInThePlaceOfAFile) {
    (void)folder.write("a", "");
    EXPECT_THROW_FILE_ERROR(createFoldersDurably(files, folder.path("a")), 516, EEXIST);
}

TEST_F(FileTransferTest, SaysThatANewFolderMayNotLast) {
    files.fail({.operation = FileOperation::syncFolder});
    EXPECT_THROW_FILE_ERROR(createFoldersDurably(files, folder.path("a")), 512, EIO);
}

TEST_F(FileTransferTest, RemovesTemporariesAndNothingElse) {
    (void)folder.write(".kelto-0123456789abcdef.part", "");
    (void)folder.write("film.part", "");
    removeTemporaryFiles(files, folder.path());
    EXPECT_THAT(files.list(folder.path()), ElementsAre("film.part"));
    removeTemporaryFiles(files, folder.path("missing"));
}

TEST_F(FileTransferTest, NamesTemporariesInTheSameFolderOutOfSight) {
    const std::string path = temporaryPathBeside("/a/b/Kelto.store", random);
    EXPECT_EQ(withoutLastPathComponent(path), "/a/b");
    EXPECT_THAT(std::string(lastPathComponent(path)), MatchesRegex("\\.kelto-[0-9a-f]{16}\\.part"));
}

TEST_F(FileTransferTest, NamesEveryTemporaryDifferently) {
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) names.insert(temporaryPathBeside("/a", random));
    EXPECT_EQ(names.size(), 100U);
}

TEST_F(FileTransferTest, NamesTheFileAndNotTheTemporaryOneInItsFailures) {
    files.fail({.operation = FileOperation::fileWrite, .errorNumber = ENOSPC});
    try {
        replace("contents");
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.localizedDescription(),
                    testing::StartsWith("The file “target” couldn’t"));
        EXPECT_THAT(error.localizedDescription(), testing::Not(testing::HasSubstr(".kelto-")));
    }
}

TEST_F(FileTransferTest, KnowsTheNamesOfItsTemporaryFiles) {
    EXPECT_TRUE(isTemporaryName(lastPathComponent(temporaryPathBeside(target, random))));
    EXPECT_FALSE(isTemporaryName("target.part"));
}

}  // namespace
}  // namespace kelto
