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
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* invalidPath = "Invalid asset path.";

const std::string id = identifier(1);

Response sendAsset(TestLibrary& library, const std::string& path, const char* key = "data") {
    return library.exchange(RequestBuilder().record(RecordBuilder::thing(id).with(key, path)));
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
        RequestBuilder().record(RecordBuilder::thing(id).with("updatedAt", 2000)));
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
    {"ClimbingOutBehindALink", "E/folderInside/../../outside"},
};
INSTANTIATE_TEST_SUITE_P(HostileRequest,
                         PathOutside,
                         testing::ValuesIn(pathsOutside),
                         caseName<PathCase>);

class PathInside : public Paths {};

TEST_P(PathInside, IsReadHoweverItIsWritten) {
    EXPECT_EQ(sendAsset(library, expanded(library, GetParam().path)).error(), "");
    EXPECT_THAT(library.received(id, "data"), testing::EndsWith("inside"));
}

constexpr PathCase pathsInside[] = {
    {"Plain", "E/file"},
    {"FurtherDown", "E/sub/file"},
    {"Dot", "E/./file"},
    {"DotDotInside", "E/sub/../file"},
    {"OutAndInAgain", "E/../exchange/file"},
    {"DoubleSlash", "E//file"},
    {"LinkLeadingInside", "E/linkInside"},
    {"FolderLinkLeadingInside", "E/folderInside/file"},
    {"OutAndInAgainThroughALink", "E/folderOutside/exchange/file"},
    {"AnotherWayToTheFolder", "E/../way/file"},
};
INSTANTIATE_TEST_SUITE_P(HostileRequest,
                         PathInside,
                         testing::ValuesIn(pathsInside),
                         caseName<PathCase>);

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
INSTANTIATE_TEST_SUITE_P(HostileRequest,
                         PathToNothing,
                         testing::ValuesIn(pathsToNothing),
                         caseName<PathCase>);

TEST(HostileRequest, MayNameTheFolderThroughALink) {
    TestLibrary library;
    const std::string link = library.platform().folder.path("link");
    fs::create_directory_symlink(library.exchangeFolder(), link);
    library.putFile("file", "inside");
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", link)
                             .record(RecordBuilder::thing(id)
                                         .with("data", link + "/file")
                                         .with("icon", library.exchangeFolder() + "/file")));
    EXPECT_EQ(response.error(), "");
    EXPECT_EQ(library.received(id, "data"), "inside");
    EXPECT_EQ(response.string(id, "data"), link + "/received/" + id + ".data");
}

TEST(HostileRequest, MayNameTheFolderWithASlashBehindIt) {
    TestLibrary library;
    const std::string path = library.putFile("file", "inside");
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", library.exchangeFolder() + "/")
                             .record(RecordBuilder::thing(id).with("data", path)));
    EXPECT_EQ(response.error(), "");
    EXPECT_EQ(response.string(id, "data"), library.receivedFolder() + "/" + id + ".data");
}

TEST(HostileRequest, FailsOnAPathWithANul) {
    TestLibrary library;
    library.putFile("file", "inside");
    EXPECT_TRUE(
        sendAsset(library, library.exchangeFolder() + std::string("/file\0x", 7)).isError());
    EXPECT_TRUE(sendAsset(library, std::string("\0", 1)).isError());
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(HostileRequest, FailsOnAPathThatIsTooLong) {
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

TEST(HostileRequest, RefusesAFolderForAPayload) {
    TestLibrary library;
    fs::create_directory(library.exchangeFolder() + "/folder");
    expectRefusedAtOnce(library, "folder");
}

TEST(HostileRequest, RefusesAPipeForAPayloadWithoutWaitingForAWriter) {
    TestLibrary library;
    ASSERT_EQ(mkfifo((library.exchangeFolder() + "/pipe").c_str(), 0600), 0);
    expectRefusedAtOnce(library, "pipe");
}

TEST(HostileRequest, RefusesASocketForAPayload) {
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

TEST(HostileRequest, RefusesADeviceForAPayload) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder()
                             .with("directory", "/dev")
                             .record(RecordBuilder::thing(id).with("data", "/dev/null")));
    EXPECT_THAT(response.error(), StartsWith("The file “null” couldn’t be opened"));
    EXPECT_FALSE(exists("/dev/received"));
}

// --- JSON beyond all measure
// ----------------------------------------------------------------------

/// A request whose only record holds this JSON text under a key that nobody reads, and a title.
std::string requestWith(TestLibrary& library, const std::string& json) {
    std::string text =
        RequestBuilder()
            .record(RecordBuilder::thing(id).with("title", "kept").with("unknown", "HERE"))
            .text(library.storePath(), library.exchangeFolder());
    return text.replace(text.find("\"HERE\""), 6, json);
}

std::string nested(std::size_t depth, char open, char close) {
    return std::string(depth, open) + std::string(depth, close);
}

TEST(HostileRequest, MayBeNestedToTheReadersLimit) {
    TestLibrary library;
    // The request, its records and the record itself are three.
    const Response response(library.exchangeText(requestWith(library, nested(509, '[', ']'))));
    EXPECT_EQ(response.string(id, "title"), "kept");
}

TEST(HostileRequest, NestedDeeperIsTheReadersErrorHoweverDeep) {
    TestLibrary library;
    for (const std::size_t depth : {510u, 100'000u, 3'000'000u}) {
        const Response response(
            library.exchangeText(requestWith(library, nested(depth, '[', ']'))));
        EXPECT_THAT(response.error(), StartsWith("The JSON text is not valid")) << depth;
    }
    EXPECT_THAT(Response(library.exchangeText(std::string(3'000'000, '['))).error(),
                StartsWith("The JSON text is not valid"));
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += R"({"a":)";
    EXPECT_THAT(Response(library.exchangeText(objects)).error(),
                StartsWith("The JSON text is not valid"));
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(HostileRequest, MayHoldTextsOfMegabytes) {
    TestLibrary library;
    const std::string text(5'000'000, '/');
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(id).with("content", text).with("note", "é")));
    EXPECT_EQ(response.string(id, "content"), text);
    library.restart();
    EXPECT_EQ(library.exchange().string(id, "content"), text);
}

TEST(HostileRequest, MayHoldNulCharactersInEveryText) {
    TestLibrary library;
    const std::string text("a\0b\0", 4);
    RecordBuilder thing = RecordBuilder::thing(id);
    const std::vector<std::string> keys = {"kind",
                                           "title",
                                           "subtitle",
                                           "content",
                                           "note",
                                           "urlString",
                                           "fileName",
                                           "typeIdentifier",
                                           "metadataJson"};
    for (const std::string& key : keys) thing.with(key, text);
    (void)library.exchange(
        RequestBuilder()
            .record(thing)
            .record(RecordBuilder::tag(id).with("name", text))
            .record(RecordBuilder::project(id).with("name", text).with("linkedFolderOwner", text)));
    library.restart();
    const Response response = library.exchange();
    const JsonValue& stored = response.records().back();
    for (const std::string& key : keys) EXPECT_EQ(*stored.member(key)->string(), text) << key;
    for (const JsonValue& record : response.records()) {
        const JsonValue* name = record.member("name");
        EXPECT_TRUE(name == nullptr || *name->string() == text);
    }
    EXPECT_THAT(response.text(), HasSubstr("\\u0000"));
}

TEST(HostileRequest, MayHoldEveryCharacter) {
    TestLibrary library;
    const std::string text =
        "\x01\x1F\x7F \xC2\x80 \xE2\x80\xA8 \xEF\xBB\xBF \xEF\xBF\xBF \xF4\x8F\xBF\xBF e\xCC\x81 "
        "\"\\/";
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(id).with("title", text)));
    EXPECT_EQ(response.string(id, "title"), text) << "no normal form, no repair";
}

TEST(HostileRequest, ThatIsNotUtf8IsTheReadersError) {
    TestLibrary library;
    for (const char* bytes : {"\"\xFF\"", "\"\xC3\"", "\"\xED\xA0\x80\"", "\"\xF5\x80\x80\x80\""}) {
        EXPECT_THAT(Response(library.exchangeText(requestWith(library, bytes))).error(),
                    HasSubstr("these bytes are not UTF-8"));
    }
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(HostileRequest, MayHoldAnUnendingNumber) {
    TestLibrary library;
    const std::string digits(1'000'000, '9');
    const RecordBuilder thing = RecordBuilder::thing(id)
                                    .with("fileSize", JsonNumber{digits})
                                    .with("aspectRatio", JsonNumber{digits})
                                    .with("createdAt", JsonNumber{"-1e999999999999"})
                                    .with("updatedAt", JsonNumber{"1e-999999999999"});
    const Response response = library.exchange(RequestBuilder().record(thing));
    EXPECT_EQ(response.integer(id, "fileSize"), 0);
    EXPECT_EQ(response.number(id, "aspectRatio"), 1.0);
    EXPECT_EQ(response.integer(id, "createdAt"), 0);
    EXPECT_EQ(response.integer(id, "updatedAt"), 0);
}

TEST(HostileRequest, MayRepeatAKeyOfARecord) {
    TestLibrary library;
    std::string text = requestWith(library, "1");
    text.insert(text.find("\"unknown\""), R"("uuid":"x","recordType":"Book",)");
    text.insert(text.find("\"unknown\""),
                R"("uuid":")" + identifier(2) + R"(","recordType":"Tag","name":"last",)");
    const Response response(library.exchangeText(text));
    EXPECT_EQ(response.string(identifier(2), "name"), "last");
    EXPECT_THAT(response.records(), testing::SizeIs(1));
}

TEST(HostileRequest, MayHoldManyRecords) {
    TestLibrary library;
    JsonElements records;
    constexpr unsigned count = 20'000;
    for (unsigned i = 0; i < count; ++i)
        records.push_back(RecordBuilder::tag(identifier(i)).json());
    const Response response = library.exchange(RequestBuilder().with("records", records));
    EXPECT_THAT(response.records(), testing::SizeIs(count));
}

TEST(HostileRequest, MayAttachManyTags) {
    TestLibrary library;
    RequestBuilder request;
    JsonElements records;
    std::vector<std::string> tags;
    for (unsigned i = 1'000; i < 4'000; ++i) {
        tags.push_back(identifier(i));
        records.push_back(RecordBuilder::tag(tags.back()).json());
    }
    records.push_back(RecordBuilder::thing(id).withTags(tags).json());
    const Response response = library.exchange(request.with("records", records));
    EXPECT_EQ(response.strings(id, "tags"), tags);
}

TEST(HostileRequest, OfRandomBytesIsAlwaysAnError) {
    TestLibrary library;
    SeededRandom random(7);
    for (int i = 0; i < 300; ++i) {
        std::string text;
        for (std::uint64_t length = random.bits() % 50; length > 0; --length) {
            text += static_cast<char>(random.bits());
        }
        EXPECT_TRUE(Response(library.exchangeText(text)).isError()) << text;
    }
}

TEST(HostileRequest, CutOffAnywhereIsAnErrorThatLeavesNothing) {
    TestLibrary library;
    const std::string text = requestWith(library, R"({"a":[1,"\u00e9"]})");
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_TRUE(Response(library.exchangeText(text.substr(0, length))).isError()) << length;
    }
    EXPECT_FALSE(exists(library.storePath()));
}

}  // namespace
}  // namespace kelto
