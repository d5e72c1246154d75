#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ReplacementFile.hpp"

namespace kelto::ctl {
namespace {

using Present = ReplacementFile::Present;

std::size_t entriesIn(const TemporaryFolder& folder) {
    const std::filesystem::directory_iterator entries(folder.path());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST(ReplacementFile, TakesThePlaceOfTheOneThatIsThere) {
    const TemporaryFolder folder;
    const std::string target = folder.write("page", "old");
    ReplacementFile file(target);
    ASSERT_TRUE(file && file.write("new"));
    EXPECT_EQ(folder.read("page"), "old");
    ASSERT_TRUE(file.takePlace());
    EXPECT_EQ(folder.read("page"), "new");
    EXPECT_EQ(entriesIn(folder), 1U);
    struct stat found {};
    ASSERT_EQ(::stat(target.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
}

TEST(ReplacementFile, KeepsWhatHasComeMeanwhileWhenToldTo) {
    const TemporaryFolder folder;
    {
        ReplacementFile file(folder.path("page"));
        ASSERT_TRUE(file && file.write("new"));
        folder.write("page", "precious");
        EXPECT_FALSE(file.takePlace(Present::keep));
        EXPECT_EQ(errno, EEXIST);
    }
    EXPECT_EQ(folder.read("page"), "precious");
    EXPECT_EQ(entriesIn(folder), 1U);
}

TEST(ReplacementFile, TakesAFreePlaceWhenToldToKeepOthers) {
    const TemporaryFolder folder;
    ReplacementFile file(folder.path("page"));
    ASSERT_TRUE(file && file.write("new") && file.takePlace(Present::keep));
    EXPECT_EQ(folder.read("page"), "new");
    EXPECT_EQ(entriesIn(folder), 1U);
}

// What has no name is gone when the program is, however it ends.
TEST(ReplacementFile, HasNoNameBeforeItIsComplete) {
    const TemporaryFolder folder;
    const FileDescriptor nameless(::open(folder.path().c_str(), O_TMPFILE | O_WRONLY, 0600));
    if (!nameless) GTEST_SKIP() << "this file system has no files without a name";
    ReplacementFile file(folder.path("page"));
    ASSERT_TRUE(file && file.write("half"));
    EXPECT_EQ(entriesIn(folder), 0U);
}

TEST(NamedFile, IsNoDevice) {
    EXPECT_THROW((void)readNamedFile("/dev/zero"), Refusal);
    EXPECT_EQ(readNamedFile("/nowhere/at/all"), std::nullopt);
}

TEST(NamedFile, IsNotReadBeyondALimit) {
    const TemporaryFolder folder;
    const std::string path = folder.write("text", "12345");
    const auto read = [&](std::size_t limit) {
        const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        return readToEnd(file.number(), path, limit);
    };
    EXPECT_EQ(read(5), "12345");
    EXPECT_THROW((void)read(4), Refusal);
}

}  // namespace
}  // namespace kelto::ctl
