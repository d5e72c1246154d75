#include <cerrno>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/platform/OutgoingFiles.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/platform/ErrorExpectation.hpp"
#include "tests/support/FaultyFileSystem.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/SeededRandom.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {
namespace {

/// More than wait at a time.
constexpr int many = 200;

class OutgoingFilesTest : public testing::Test {
protected:
    static std::string name(int number) { return "file" + std::to_string(number); }
    static std::string contents(int number) {
        return std::string(static_cast<std::size_t>(100 * number), 'x') + std::to_string(number);
    }
    void give(OutgoingFiles& outgoing, int number) {
        outgoing.write(name(number), bytesOf(contents(number)));
    }
    /// As a caller does that has something to do at the end, whatever happens before.
    void giveAll(OutgoingFiles& outgoing) {
        for (int number = 0; number < many; ++number) give(outgoing, number);
        outgoing.finish();
    }
    [[nodiscard]] std::size_t temporaries() const {
        std::size_t count = 0;
        for (const std::string& found : namesIn(folder.path())) count += found.starts_with(".");
        return count;
    }

    TemporaryFolder folder;
    FaultyFileSystem files{std::make_shared<PosixFileSystem>()};
    const std::unique_ptr<Folder> open = files.openFolder(folder.path());
    SeededRandom random{1};
};

TEST_F(OutgoingFilesTest, WritesEveryFile) {
    OutgoingFiles outgoing(*open, random);
    giveAll(outgoing);
    for (int number = 0; number < many; ++number) {
        EXPECT_EQ(folder.read(name(number)), contents(number));
    }
    EXPECT_EQ(temporaries(), 0U);
}

TEST_F(OutgoingFilesTest, CopiesTheBytesThatItIsGiven) {
    OutgoingFiles outgoing(*open, random);
    for (int number = 0; number < many; ++number) {
        std::string bytes = contents(number);
        outgoing.write(name(number), bytesOf(bytes));
        bytes.assign(bytes.size(), '?');
    }
    outgoing.finish();
    for (int number = 0; number < many; ++number) {
        EXPECT_EQ(folder.read(name(number)), contents(number));
    }
}

TEST_F(OutgoingFilesTest, ReplacesFilesInTheOrderInWhichTheyWereGiven) {
    OutgoingFiles outgoing(*open, random);
    for (int number = 0; number < many; ++number) {
        outgoing.write("the same", bytesOf(contents(number)));
    }
    outgoing.finish();
    EXPECT_EQ(folder.read("the same"), contents(many - 1));
}

TEST_F(OutgoingFilesTest, WritesAFileNowBehindAllThatWait) {
    OutgoingFiles outgoing(*open, random);
    for (int number = 0; number < 20; ++number) {
        outgoing.write("the same", bytesOf(contents(number)));
    }
    outgoing.writeNow("the same", [](File& file) { file.write(bytesOf("now")); });
    EXPECT_EQ(folder.read("the same"), "now");
}

TEST_F(OutgoingFilesTest, WritesAFewFilesWithoutASecondThread) {
    OutgoingFiles outgoing(*open, random);
    for (int number = 0; number < static_cast<int>(OutgoingFiles::filesWrittenAlone); ++number) {
        give(outgoing, number);
        EXPECT_EQ(folder.read(name(number)), contents(number)) << "nobody has waited for it";
    }
}

TEST_F(OutgoingFilesTest, FlushesNothing) {
    OutgoingFiles outgoing(*open, random);
    giveAll(outgoing);
    EXPECT_EQ(files.count(FileOperation::fileSync), 0U);
    EXPECT_EQ(files.count(FileOperation::syncFolder), 0U);
}

class FailedOutgoingFile : public OutgoingFilesTest, public testing::WithParamInterface<int> {};

TEST_P(FailedOutgoingFile, EndsTheWorkWithItsOwnError) {
    files.fail({.operation = FileOperation::rename,
                .pathPattern = "*/" + name(GetParam()),
                .errorNumber = ENOSPC});
    OutgoingFiles outgoing(*open, random);
    EXPECT_THROW_FILE_ERROR(giveAll(outgoing), 640, ENOSPC);
    EXPECT_THROW_FILE_ERROR(outgoing.writeNow("late", [](File&) {}), 640, ENOSPC);
    for (int number = 0; number < GetParam(); ++number) {
        EXPECT_EQ(folder.read(name(number)), contents(number)) << "files written before stay";
    }
    for (int number = GetParam(); number < many; ++number) {
        EXPECT_FALSE(exists(folder.path(name(number))));
    }
    EXPECT_EQ(temporaries(), 0U);
}

INSTANTIATE_TEST_SUITE_P(OnTheSecondThread, FailedOutgoingFile, testing::Values(4, 5, 40, 199));

TEST_F(OutgoingFilesTest, ThrowsTheErrorOfAFileThatItWritesAlone) {
    files.fail({.operation = FileOperation::create, .errorNumber = ENOSPC});
    OutgoingFiles outgoing(*open, random);
    EXPECT_THROW_FILE_ERROR(give(outgoing, 0), 640, ENOSPC);
}

TEST_F(OutgoingFilesTest, LeavesNoTemporaryWhenItIsGivenUp) {
    {
        OutgoingFiles outgoing(*open, random);
        for (int number = 0; number < 30; ++number) give(outgoing, number);
    }
    EXPECT_EQ(temporaries(), 0U);
    for (const std::string& found : namesIn(folder.path())) {
        EXPECT_EQ(folder.read(found), contents(std::stoi(found.substr(4))));
    }
}

}  // namespace
}  // namespace kelto
