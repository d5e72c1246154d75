#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* invalidPath = "Invalid asset path.";

Response sendAsset(TestLibrary& library, const std::string& path, const char* key = "data") {
    return library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId).with(key, path)));
}

// --- Paths
// ----------------------------------------------------------------------------------------

/// A pattern of a path: E stands for the exchange folder.
std::string expanded(const TestLibrary& library, std::string pattern) {
    if (const auto at = pattern.find('E'); at != pattern.npos) {
        pattern.replace(at, 1, library.exchangeFolder());
    }
    return pattern;
}

struct PathCase {
    const char* name;
    const char* path;
};

/// Beside the exchange folder lie "outside" and "exchange2/file", in it "file" and "sub/file".
class Paths : public testing::TestWithParam<PathCase> {
protected:
    Paths() {
        library.putFile("file", "inside");
        library.putFile("sub/file", "further inside");
        library.platform().folder.write("outside", "outside");
        writeFile(library.exchangeFolder() + "2/file", "beside");
        fs::create_symlink(library.exchangeFolder() + "/file",
                           library.exchangeFolder() + "/linkInside");
        fs::create_directory_symlink(library.exchangeFolder() + "/sub",
                                     library.exchangeFolder() + "/folderInside");
        fs::create_symlink(library.platform().folder.path("outside"),
                           library.exchangeFolder() + "/linkOutside");
        fs::create_directory_symlink(library.platform().folder.path(),
                                     library.exchangeFolder() + "/folderOutside");
        fs::create_symlink("linkRound", library.exchangeFolder() + "/linkRound");
        fs::create_symlink("missing", library.exchangeFolder() + "/linkNowhere");
        fs::create_symlink("../missing", library.exchangeFolder() + "/linkNowhereOutside");
        fs::create_directory_symlink(library.exchangeFolder(),
                                     library.platform().folder.path("way"));
    }
    TestLibrary library;
};

class PathOutside : public Paths {};

TEST_P(PathOutside, IsRefusedUnderEveryKey) {
    for (const char* key : {"data", "thumbnail", "icon"}) {
        EXPECT_EQ(sendAsset(library, expanded(library, GetParam().path), key).error(), invalidPath)
            << key;
    }
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST_P(PathOutside, IsRefusedAsDataEvenWhereTheRecordWouldLose) {
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("updatedAt", 2000)));
    EXPECT_EQ(sendAsset(library, expanded(library, GetParam().path)).error(), invalidPath);
    EXPECT_FALSE(sendAsset(library, expanded(library, GetParam().path), "icon").isError())
        << "the icon of a record that loses is not looked at";
}

constexpr PathCase pathsOutside[] = {
    {"Empty", ""},
    {"AbsoluteElsewhere", "/etc/hostname"},
    {"Relative", "file"},
    {"RelativeWithDot", "./file"},
    {"Url", "file://E/file"},
    {"TheFolderItself", "E"},
    {"TheFolderWithASlash", "E/"},
    {"TheFolderWithADot", "E/."},
    {"ClimbingOut", "E/../outside"},
    {"ClimbingOutFromFurtherDown", "E/sub/../../outside"},
    {"ClimbingOutOfAFolderThatIsNot", "E/missing/../../outside"},
    {"SiblingOfTheSameBeginning", "E2/file"},
    {"LinkLeadingOut", "E/linkOutside"},
    {"FolderLinkLeadingOut", "E/folderOutside/outside"},
    // What cannot be resolved as it is written may still lead out once it is cleaned of its dots.
    {"LinkLeadingOutWithASlash", "E/linkOutside/"},
    {"FolderLinkLeadingOutWithASlash", "E/folderOutside/outside/"},
    {"FolderLinkLeadingOutWithADot", "E/folderOutside/outside/."},
    {"LinkLeadingOutBehindAFolderThatIsNot", "E/missing/../linkOutside"},
    {"LinkLeadingOutBehindAFile", "E/file/../linkOutside"},
    {"LinkLeadingOutWithAStepBack", "E/linkOutside/x/.."},
    {"ClimbingOutBehindALink", "E/folderInside/../../outside"},
};
INSTANTIATE_TEST_SUITE_P(AssetPath,
                         PathOutside,
                         testing::ValuesIn(pathsOutside),
                         caseName<PathCase>);

class PathInside : public Paths {};

TEST_P(PathInside, IsReadHoweverItIsWritten) {
    EXPECT_EQ(sendAsset(library, expanded(library, GetParam().path)).error(), "");
    EXPECT_THAT(library.received(firstId, "data"), testing::EndsWith("inside"));
}

constexpr PathCase pathsInside[] = {
    {"Plain", "E/file"},
    {"FurtherDown", "E/sub/file"},
    {"Dot", "E/./file"},
    {"DotDotInside", "E/sub/../file"},
    {"OutAndInAgain", "E/../exchange/file"},
    {"DoubleSlash", "E//file"},
    {"SlashAtTheEnd", "E/file/"},
    {"LinkLeadingInside", "E/linkInside"},
    {"FolderLinkLeadingInside", "E/folderInside/file"},
    {"OutAndInAgainThroughALink", "E/folderOutside/exchange/file"},
    {"AnotherWayToTheFolder", "E/../way/file"},
};
INSTANTIATE_TEST_SUITE_P(AssetPath, PathInside, testing::ValuesIn(pathsInside), caseName<PathCase>);

class PathToNothing : public Paths {};

TEST_P(PathToNothing, FailsAndReadsNothing) {
    EXPECT_TRUE(sendAsset(library, expanded(library, GetParam().path)).isError());
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

constexpr PathCase pathsToNothing[] = {
    {"Missing", "E/missing"},
    {"LinkNowhere", "E/linkNowhere"},
    {"LinkNowhereOutside", "E/linkNowhereOutside"},
    {"LinkInACircle", "E/linkRound"},
    {"BelowAFile", "E/file/x"},
    {"PercentEscapes", "E/%2e%2e/outside"},
    {"Folder", "E/sub"},
};
INSTANTIATE_TEST_SUITE_P(AssetPath,
                         PathToNothing,
                         testing::ValuesIn(pathsToNothing),
                         caseName<PathCase>);

TEST(AssetPath, MayNameTheFolderThroughALink) {
    TestLibrary library;
    const std::string link = library.platform().folder.path("link");
    fs::create_directory_symlink(library.exchangeFolder(), link);
    library.putFile("file", "inside");
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", link)
                             .record(RecordBuilder::thing(firstId)
                                         .with("data", link + "/file")
                                         .with("icon", library.exchangeFolder() + "/file")));
    EXPECT_EQ(response.error(), "");
    EXPECT_EQ(library.received(firstId, "data"), "inside");
    EXPECT_EQ(response.string(firstId, "data"), link + "/received/" + firstId + ".data");
}

TEST(AssetPath, MayNameTheFolderWithASlashBehindIt) {
    TestLibrary library;
    const std::string path = library.putFile("file", "inside");
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", library.exchangeFolder() + "/")
                             .record(RecordBuilder::thing(firstId).with("data", path)));
    EXPECT_EQ(response.error(), "");
    EXPECT_EQ(response.string(firstId, "data"), library.receivedFolder() + "/" + firstId + ".data");
}

TEST(AssetPath, FailsOnAPathWithANul) {
    TestLibrary library;
    library.putFile("file", "inside");
    EXPECT_TRUE(
        sendAsset(library, library.exchangeFolder() + std::string("/file\0x", 7)).isError());
    EXPECT_TRUE(sendAsset(library, std::string("\0", 1)).isError());
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(AssetPath, FailsOnAPathThatIsTooLong) {
    TestLibrary library;
    EXPECT_TRUE(
        sendAsset(library, library.exchangeFolder() + "/" + std::string(300, 'x')).isError());
    std::string deep = library.exchangeFolder();
    for (int i = 0; i < 100'000; ++i) deep += "/x";
    EXPECT_TRUE(sendAsset(library, deep).isError());
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

// --- What is no file
// ------------------------------------------------------------------------------

void expectRefusedAtOnce(TestLibrary& library, const std::string& name) {
    const Response response = sendAsset(library, library.exchangeFolder() + "/" + name);
    EXPECT_THAT(response.error(), StartsWith("The file “" + name + "” couldn’t be opened"));
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(AssetPath, RefusesAFolderForAPayload) {
    TestLibrary library;
    fs::create_directory(library.exchangeFolder() + "/folder");
    expectRefusedAtOnce(library, "folder");
}

TEST(AssetPath, RefusesAPipeForAPayloadWithoutWaitingForAWriter) {
    TestLibrary library;
    ASSERT_EQ(mkfifo((library.exchangeFolder() + "/pipe").c_str(), 0600), 0);
    expectRefusedAtOnce(library, "pipe");
}

TEST(AssetPath, RefusesASocketForAPayload) {
    TestLibrary library;
    const std::string path = library.exchangeFolder() + "/socket";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectRefusedAtOnce(library, "socket");
    close(descriptor);
}

TEST(AssetPath, RefusesADeviceForAPayload) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", "/dev")
                             .record(RecordBuilder::thing(firstId).with("data", "/dev/null")));
    EXPECT_THAT(response.error(), StartsWith("The file “null” couldn’t be opened"));
    EXPECT_FALSE(exists("/dev/received"));
}

}  // namespace
}  // namespace kelto
