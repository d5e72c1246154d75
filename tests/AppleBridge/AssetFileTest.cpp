// Payload files that change while they are read, cannot be read, or never end, and names and paths
// as long as the system takes them.

#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class AssetFile : public testing::Test {
protected:
    Response send(const std::string& path) {
        return library.exchange(RequestBuilder().record(
            RecordBuilder::thing(firstId).with("data", path).with("updatedAt", ++moment)));
    }
    /// What stands in the file is what the library holds, now and after a new start.
    void expectTaken(const std::string& path) {
        EXPECT_EQ(send(path).error(), "");
        EXPECT_EQ(library.received(firstId, "data"), readFile(path));
        library.restart();
        library.clearReceived();
        EXPECT_EQ(library.exchange().error(), "");
        EXPECT_EQ(library.received(firstId, "data"), readFile(path));
    }

    /// Runs `action` when the file is open and not one byte of it has been read.
    void beforeItIsRead(std::function<void()> action) {
        // The way to it is looked at only after all other files that an exchange reads.
        FaultyFileSystem& files = *library.platform().files;
        files.beforeNext(FileOperation::resolvedPath, [&files, action = std::move(action)] {
            files.beforeNext(FileOperation::fileRead, action);
        });
    }

    TestLibrary library;
    int moment = 0;
};

// --- Files that change
// ----------------------------------------------------------------------------

/// A size below and one above that from which on a payload has a file of its own.
class ChangingFile : public AssetFile, public testing::WithParamInterface<std::size_t> {};

TEST_P(ChangingFile, MayGrowWhileItIsRead) {
    const std::string path = library.putFile("file", std::string(GetParam(), 'a'));
    beforeItIsRead([&] { std::ofstream(path, std::ios::app) << std::string(GetParam(), 'b'); });
    EXPECT_EQ(send(path).error(), "");
    EXPECT_THAT(library.received(firstId, "data"), StartsWith(std::string(GetParam(), 'a')));
    expectTaken(path);
}

TEST_P(ChangingFile, MayShrinkWhileItIsRead) {
    const std::string path = library.putFile("file", std::string(GetParam(), 'a'));
    beforeItIsRead([&] { fs::resize_file(path, GetParam() / 2); });
    EXPECT_EQ(send(path).error(), "");
    EXPECT_EQ(library.received(firstId, "data"), std::string(GetParam() / 2, 'a'));
    expectTaken(path);
}

TEST_P(ChangingFile, MayBecomeEmptyWhileItIsRead) {
    const std::string path = library.putFile("file", std::string(GetParam(), 'a'));
    beforeItIsRead([&] { fs::resize_file(path, 0); });
    EXPECT_EQ(send(path).error(), "");
    expectTaken(path);
}

TEST_P(ChangingFile, MayBeTakenAwayWhileItIsRead) {
    const std::string bytes(GetParam(), 'a');
    const std::string path = library.putFile("file", bytes);
    beforeItIsRead([&] { fs::remove(path); });
    EXPECT_EQ(send(path).error(), "");
    EXPECT_EQ(library.received(firstId, "data"), bytes);
    EXPECT_THAT(send(path).error(), HasSubstr("there is no such file"));
}

INSTANTIATE_TEST_SUITE_P(Sizes, ChangingFile, testing::Values(1000, 3'000'000));

TEST_F(AssetFile, ThatCannotBeReadToItsEndIsAnErrorAndLeavesNothing) {
    const std::string path = library.putFile("file", std::string(3'000'000, 'a'));
    library.platform().files->fail({.operation = FileOperation::fileRead,
                                    .pathPattern = "*/file",
                                    .after = 2,
                                    .errorNumber = EIO});
    EXPECT_THAT(send(path).error(), StartsWith("The file “file” couldn’t be"));
    library.platform().files->heal();
    EXPECT_THAT(library.exchange().records(), IsEmpty());
    EXPECT_THAT(library.externalFiles(), IsEmpty());
}

TEST_F(AssetFile, ThatNobodyMayReadIsAnError) {
    const std::string path = library.putFile("file", "secret");
    library.platform().files->fail({.operation = FileOperation::openForReading,
                                    .pathPattern = "*/file",
                                    .errorNumber = EACCES});
    EXPECT_THAT(send(path).error(), HasSubstr("you don’t have permission"));
    library.platform().files->heal();
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

// --- Files of the system
// --------------------------------------------------------------------------

TEST_F(AssetFile, IsNoDeviceThatNeverEnds) {
    for (const char* path : {"/dev/zero", "/dev/urandom", "/dev/full", "/dev/tty"}) {
        const Response response =
            library.exchange(RequestBuilder()
                                 .with("directory", "/dev")
                                 .record(RecordBuilder::thing(firstId).with("data", path)));
        EXPECT_TRUE(response.isError()) << path;
    }
    EXPECT_FALSE(exists("/dev/received"));
}

TEST_F(AssetFile, IsReachedByNoWayThroughTheProcess) {
    writeFile(library.platform().folder.path("outside"), "outside");
    const int descriptor = ::open(library.platform().folder.path("outside").c_str(), O_RDONLY);
    ASSERT_GE(descriptor, 0);
    const std::string number = std::to_string(descriptor);
    const std::string there = library.exchangeFolder();
    fs::create_symlink("/proc/self/fd/" + number, there + "/byDescriptor");
    fs::create_directory_symlink("/proc/self/root", there + "/byRoot");
    fs::create_directory_symlink("/proc/self/cwd", there + "/byCurrentFolder");
    for (const std::string& path : {"/proc/self/fd/" + number,
                                    "/proc/thread-self/fd/" + number,
                                    "/dev/fd/" + number,
                                    "/proc/self/root" + library.platform().folder.path("outside"),
                                    there + "/byDescriptor",
                                    there + "/byRoot" + library.platform().folder.path("outside"),
                                    there + "/byRoot/etc/hostname",
                                    there + "/byCurrentFolder/CTestTestfile.cmake",
                                    there + "/../../../../../../../proc/self/environ"}) {
        EXPECT_TRUE(send(path).isError()) << path;
    }
    EXPECT_THAT(library.exchange().records(), IsEmpty());
    ::close(descriptor);
}

TEST_F(AssetFile, MayBeReachedThroughTheRootOfTheProcess) {
    const std::string path = library.putFile("file", "inside");
    EXPECT_EQ(send("/proc/self/root" + path).error(), "");
    EXPECT_EQ(library.received(firstId, "data"), "inside");
}

// --- Lengths
// --------------------------------------------------------------------------------------

TEST_F(AssetFile, MayHaveTheLongestName) {
    expectTaken(library.putFile(std::string(255, 'n'), "bytes"));
}

TEST_F(AssetFile, OfALongerNameIsAnError) {
    EXPECT_TRUE(send(library.exchangeFolder() + "/" + std::string(256, 'n')).isError());
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST_F(AssetFile, MayHaveTheLongestPath) {
    // 4,095 bytes and the NUL are the system's limit.
    std::string path = library.exchangeFolder();
    while (path.size() + 202 < 4095) path += "/" + std::string(200, 'f');
    path += "/" + std::string(4095 - path.size() - 1, 'n');
    ASSERT_EQ(path.size(), 4095U);
    writeFile(path, "bytes");
    expectTaken(path);
}

TEST_F(AssetFile, OfALongerPathIsAnError) {
    for (const std::size_t length : {4096U, 4097U, 8192U, 1'000'000U}) {
        std::string path = library.exchangeFolder();
        while (path.size() < length) path += "/" + std::string(100, 'f');
        EXPECT_TRUE(send(path.substr(0, length)).isError()) << length;
    }
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST_F(AssetFile, IsFoundWhenItsPathIsLongOnlyAsItIsWritten) {
    std::string path = library.exchangeFolder();
    (void)library.putFile("sub/file", "inside");
    for (int i = 0; i < 1000; ++i) path += "/sub/..";
    EXPECT_EQ(send(path + "/sub/file").error(), "");
    EXPECT_EQ(library.received(firstId, "data"), "inside");
}

// --- The exchange folder itself
// -------------------------------------------------------------------

struct DirectoryCase {
    const char* name;
    std::string directory;
};

class OddDirectory : public testing::TestWithParam<DirectoryCase> {};

TEST_P(OddDirectory, IsAnErrorOrAnAnswerAndWritesNothingElsewhere) {
    TestLibrary library;
    const std::string path = library.putFile("file", "inside");
    std::string directory = GetParam().directory;
    if (directory.starts_with('E')) directory.replace(0, 1, library.exchangeFolder());
    const auto before = namesIn("/");
    (void)library.exchange(
        RequestBuilder()
            .with("directory", directory)
            .record(RecordBuilder::thing(firstId).with("title", "kept").with("data", path)));
    EXPECT_EQ(namesIn("/"), before);
    // Whatever it was, the library is fit for the next one.
    EXPECT_EQ(library.exchange().error(), "");
}

const DirectoryCase oddDirectories[] = {
    {"AFile", "E/file"},
    {"BelowAFile", "E/file/x"},
    {"Proc", "/proc/self"},
    {"ADescriptor", "/proc/self/fd/0"},
    {"ADevice", "/dev/null"},
    {"WithANul", std::string("E\0x", 3)},
    {"TooLong", "E/" + std::string(5000, 'x')},
    {"TooDeep", "E" + std::string(5000, '/') + "x/" + std::string(300, 'y')},
    {"Control", "E/\x01\x1b[31m"},
};
INSTANTIATE_TEST_SUITE_P(AssetFile,
                         OddDirectory,
                         testing::ValuesIn(oddDirectories),
                         caseName<DirectoryCase>);

}  // namespace
}  // namespace kelto
