#include <cctype>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

/// The keys of a record, in the order of the response.
std::vector<std::string> keysOf(const JsonValue& record) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : *record.object()) keys.push_back(key);
    return keys;
}

// --- The envelope
// ---------------------------------------------------------------------------------

TEST(SnapshotExport, OfAnEmptyStoreHasNoRecordsAndMakesTheFolder) {
    TestLibrary library;
    const Response response = library.exchange();
    EXPECT_THAT(response.records(), IsEmpty());
    EXPECT_TRUE(exists(library.receivedFolder()));
    EXPECT_EQ(response.json().member("version")->number()->text, "1");
}

TEST(SnapshotExport, MakesTheExchangeFolderWhenItIsMissing) {
    TestLibrary library;
    std::filesystem::remove_all(library.exchangeFolder());
    EXPECT_FALSE(library.exchange().isError());
    EXPECT_TRUE(exists(library.receivedFolder()));
}

// --- What a killed export has left

TEST(SnapshotExport, RemovesWhatAKilledExportHasLeftAndNothingElse) {
    TestLibrary library;
    (void)library.exchange();
    const std::string left = library.receivedFolder() + "/.kelto-0123456789abcdef.part";
    writeFile(left, "half");
    writeFile(library.receivedFolder() + "/.kelto-notes", "the host's");
    writeFile(library.receivedFolder() + "/film.part", "the host's");
    library.restart();
    (void)library.exchange();
    EXPECT_THAT(library.receivedFiles(), ElementsAre(".kelto-notes", "film.part"));
}

TEST(SnapshotExport, LooksForLeftoversOnceInEachFolder) {
    TestLibrary library;
    (void)library.exchange();
    const std::string left = library.receivedFolder() + "/.kelto-0123456789abcdef.part";
    writeFile(left, "another library's export at work");
    (void)library.exchange();
    EXPECT_TRUE(exists(left)) << "listing thousands of files is not for every exchange";
    (void)library.exchange(RequestBuilder().with("directory", library.exchangeFolder() + "/other"));
    (void)library.exchange();
    EXPECT_FALSE(exists(left));
}

TEST(SnapshotExport, RemovesNothingWhileAnotherProgramExportsIntoTheFolder) {
    TestLibrary library;
    const std::string left = library.receivedFolder() + "/.kelto-0123456789abcdef.part";
    writeFile(left, "half of what the other is copying");
    {
        const auto other = PosixFileSystem().openFolder(library.receivedFolder());
        ASSERT_TRUE(other->hold(Folder::Hold::together));
        EXPECT_FALSE(library.exchange().isError());
        EXPECT_TRUE(exists(left));
    }
    library.restart();
    EXPECT_FALSE(library.exchange().isError());
    EXPECT_FALSE(exists(left));
}

TEST(SnapshotExport, LetsNobodyTakeItsFilesForLeftoversWhileItWritesThem) {
    TestLibrary library;
    (void)library.exchange();
    bool mayRemove = true;
    library.platform().files->beforeNext(FileOperation::create, [&] {
        const auto other = PosixFileSystem().openFolder(library.receivedFolder());
        mayRemove = other->hold(Folder::Hold::alone);
    });
    const std::string path = library.putFile("file", "bytes");
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("data", path)));
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
    EXPECT_FALSE(mayRemove);
}

TEST(SnapshotExport, RemovesNoLeftoversThroughALink) {
    TestLibrary library;
    const std::string elsewhere = library.exchangeFolder() + "/elsewhere";
    writeFile(elsewhere + "/.kelto-0123456789abcdef.part", "not ours");
    std::filesystem::create_directory_symlink(elsewhere, library.receivedFolder());
    EXPECT_TRUE(library.exchange().isError());
    EXPECT_TRUE(exists(elsewhere + "/.kelto-0123456789abcdef.part"));
}

TEST(SnapshotExport, EchoesTheFolderAsTheRequestWroteIt) {
    TestLibrary library;
    const std::string directory = library.exchangeFolder() + "/./";
    const Response response = library.exchange(RequestBuilder().with("directory", directory));
    EXPECT_EQ(*response.json().member("directory")->string(), directory);
}

TEST(SnapshotExport, IsCompactJson) {
    TestLibrary library;
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId)).record(RecordBuilder::tag(firstId)));
    EXPECT_EQ(response.text(), response.json().text());
}

TEST(SnapshotExport, ListsProjectsThenTagsThenThingsInTheOrderOfTheirCreation) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder()
                                                   .record(RecordBuilder::thing(identifier(9)))
                                                   .record(RecordBuilder::tag(identifier(8)))
                                                   .record(RecordBuilder::project(identifier(7)))
                                                   .record(RecordBuilder::thing(identifier(6)))
                                                   .record(RecordBuilder::tag(identifier(5)))
                                                   .record(RecordBuilder::project(identifier(4))));
    std::vector<std::string> order;
    for (const JsonValue& record : response.records()) {
        order.push_back(*record.member("uuid")->string());
    }
    EXPECT_THAT(order,
                ElementsAre(identifier(7),
                            identifier(4),
                            identifier(8),
                            identifier(5),
                            identifier(9),
                            identifier(6)));
    library.restart();
    EXPECT_EQ(library.exchange().records(), response.records());
}

// --- Records
// --------------------------------------------------------------------------------------

TEST(SnapshotExport, OfAProjectHasAnOwnerEvenWhenItIsEmptyAndNoParentWithoutOne) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::project(firstId)
                                                     .with("name", "Home")
                                                     .with("sortOrder", -3)
                                                     .with("createdAt", 1500)));
    EXPECT_THAT(keysOf(response.record(firstId)),
                testing::UnorderedElementsAre(
                    "recordType", "uuid", "createdAt", "name", "sortOrder", "linkedFolderOwner"));
    EXPECT_EQ(response.string(firstId, "recordType"), "Project");
    EXPECT_EQ(response.string(firstId, "name"), "Home");
    EXPECT_EQ(response.integer(firstId, "sortOrder"), -3);
    EXPECT_EQ(response.integer(firstId, "createdAt"), 1500);
    EXPECT_EQ(response.string(firstId, "linkedFolderOwner"), "");
}

TEST(SnapshotExport, OfAProjectNamesItsParentInLowerCase) {
    TestLibrary library;
    const std::string child = identifier(0xABCDEF);
    const Response response = library.exchange(
        RequestBuilder()
            .record(RecordBuilder::project(child).with("parent", identifier(0xFEDCBA)))
            .record(RecordBuilder::project(identifier(0xFEDCBA)).with("linkedFolderOwner", "Mac")));
    EXPECT_EQ(response.string(child, "parent"), identifier(0xFEDCBA));
    EXPECT_THAT(
        keysOf(response.record(child)),
        testing::UnorderedElementsAre(
            "recordType", "uuid", "createdAt", "name", "sortOrder", "linkedFolderOwner", "parent"));
    EXPECT_EQ(response.string(identifier(0xFEDCBA), "linkedFolderOwner"), "Mac");
}

TEST(SnapshotExport, OfATagHasItsName) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::tag(firstId).with("name", "Grün").with("createdAt", -1500)));
    EXPECT_EQ(
        response.record(firstId),
        JsonValue(JsonMembers{
            {"recordType", "Tag"}, {"uuid", firstId}, {"createdAt", -1500}, {"name", "Grün"}}));
}

TEST(SnapshotExport, OfAThingHasEveryField) {
    TestLibrary library;
    const std::string file = library.putFile("in", "bytes");
    const RecordBuilder thing = RecordBuilder::thing(firstId)
                                    .with("createdAt", 1)
                                    .with("kind", "image")
                                    .with("title", "Title")
                                    .with("subtitle", "Subtitle")
                                    .with("content", "Content\n\"/\\")
                                    .with("note", "Note")
                                    .with("urlString", "https://example.org/a")
                                    .with("fileName", "a.png")
                                    .with("typeIdentifier", "public.png")
                                    .with("fileSize", 9007199254740993)
                                    .with("aspectRatio", 1.5)
                                    .with("isStarred", true)
                                    .with("trashedAt", 2)
                                    .with("updatedAt", 3)
                                    .with("metadataJson", R"({"width":800,"linkedRelativePath":1})")
                                    .withTags({identifier(2)})
                                    .with("project", identifier(3))
                                    .with("data", file)
                                    .with("thumbnail", file)
                                    .with("icon", file);
    const Response response = library.exchange(RequestBuilder()
                                                   .record(thing)
                                                   .record(RecordBuilder::tag(identifier(2)))
                                                   .record(RecordBuilder::project(identifier(3))));
    const std::string filePrefix = library.receivedFolder() + "/" + firstId + ".";
    for (const auto& [key, value] : *thing.json().object()) {
        if (key == "data" || key == "thumbnail" || key == "icon") {
            EXPECT_EQ(response.string(firstId, key), filePrefix + key);
        } else {
            EXPECT_EQ(*response.record(firstId).member(key), value) << key;
        }
    }
    EXPECT_THAT(response.string(firstId, "fileFingerprint"), MatchesRegex("[0-9a-f]{64}"));
    EXPECT_THAT(response.string(firstId, "fingerprint"), MatchesRegex("[0-9a-f]{64}"));
    EXPECT_EQ(response.record(firstId).object()->size(), thing.json().object()->size() + 2);
}

TEST(SnapshotExport, OfAThingLeavesOutWhatItDoesNotHave) {
    TestLibrary library;
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    for (const char* key : {"trashedAt", "project", "data", "thumbnail", "icon", "deleted"}) {
        EXPECT_FALSE(response.has(firstId, key)) << key;
    }
    EXPECT_THAT(response.strings(firstId, "tags"), IsEmpty());
}

TEST(SnapshotExport, IncludesThingsInTheTrash) {
    TestLibrary library;
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("trashedAt", 5)));
    EXPECT_EQ(response.integer(firstId, "trashedAt"), 5);
}

TEST(SnapshotExport, SortsTagsByIdentifierWhateverTheOrderOfTheHost) {
    TestLibrary library;
    RequestBuilder request;
    for (unsigned i : {0x0Au, 0x02u, 0xF0u}) request.record(RecordBuilder::tag(identifier(i)));
    request.record(RecordBuilder::thing(firstId).withTags(
        {identifier(0xF0), identifier(0x02), identifier(0x0A)}));
    EXPECT_THAT(library.exchange(request).strings(firstId, "tags"),
                ElementsAre(identifier(0x02), identifier(0x0A), identifier(0xF0)));
}

TEST(SnapshotExport, RoundsHalfMillisecondsAwayFromZero) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("createdAt", 62.5).with("updatedAt", -62.5)));
    EXPECT_EQ(response.integer(firstId, "createdAt"), 63);
    EXPECT_EQ(response.integer(firstId, "updatedAt"), -63);
}

// --- Payload files
// --------------------------------------------------------------------------------

TEST(SnapshotExport, OfAThingWithAThumbnailOnlyWritesThatFileOnly) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("thumbnail", library.putFile("in", "small"))));
    EXPECT_TRUE(response.has(firstId, "thumbnail"));
    EXPECT_FALSE(response.has(firstId, "data"));
    EXPECT_FALSE(response.has(firstId, "icon"));
    EXPECT_THAT(library.receivedFiles(), ElementsAre(firstId + ".thumbnail"));
    EXPECT_EQ(library.received(firstId, "thumbnail"), "small");
}

TEST(SnapshotExport, WritesAFileOfNoBytesForAPayloadOfNoBytes) {
    TestLibrary library;
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("data", library.putFile("in", ""))));
    EXPECT_TRUE(response.has(firstId, "data"));
    EXPECT_EQ(library.received(firstId, "data"), "");
}

/// A library with one thing that has all three payloads, taken over by the host.
struct HostWithThing {
    TestLibrary library;
    RecordBuilder thing = RecordBuilder::thing(firstId)
                              .with("data", library.putFile("in/data", "the data"))
                              .with("thumbnail", library.putFile("in/thumbnail", "the thumbnail"))
                              .with("icon", library.putFile("in/icon", "the icon"));
    Response first = library.exchange(RequestBuilder().record(thing));

    HostWithThing() { library.clearReceived(); }
};

TEST(SnapshotExport, WritesNoFileOfAThingWhoseFingerprintTheHostKnows) {
    HostWithThing host;
    const Response response = host.library.exchange(
        RequestBuilder().knownFingerprint(firstId, host.first.string(firstId, "fingerprint")));
    EXPECT_THAT(host.library.receivedFiles(), IsEmpty());
    EXPECT_EQ(response.record(firstId), host.first.record(firstId));
}

TEST(SnapshotExport, KnowsTheSameFingerprintAfterARestart) {
    HostWithThing host;
    host.library.restart();
    const Response response = host.library.exchange(
        RequestBuilder().knownFingerprint(firstId, host.first.string(firstId, "fingerprint")));
    EXPECT_THAT(host.library.receivedFiles(), IsEmpty());
    EXPECT_EQ(response.record(firstId), host.first.record(firstId));
}

TEST(SnapshotExport, WritesTheFilesAgainWithoutAFingerprint) {
    HostWithThing host;
    (void)host.library.exchange();
    EXPECT_THAT(host.library.receivedFiles(),
                ElementsAre(firstId + ".data", firstId + ".icon", firstId + ".thumbnail"));
    EXPECT_EQ(host.library.received(firstId, "data"), "the data");
    EXPECT_EQ(host.library.received(firstId, "thumbnail"), "the thumbnail");
    EXPECT_EQ(host.library.received(firstId, "icon"), "the icon");
}

TEST(SnapshotExport, WritesTheFilesAgainWhenTheHostKnowsAnotherVersion) {
    HostWithThing host;
    (void)host.library.exchange(RequestBuilder().knownFingerprint(firstId, std::string(64, '0')));
    EXPECT_THAT(host.library.receivedFiles(), testing::SizeIs(3));
}

TEST(SnapshotExport, DoesNotKnowAFingerprintUnderAnIdentifierInUpperCase) {
    TestLibrary library;
    const std::string uuid = identifier(0xABC);
    const std::string upperCase = Uuid::parse(uuid)->upperCaseText();
    const Response first = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(uuid).with("data", library.putFile("in", "bytes"))));
    library.clearReceived();
    (void)library.exchange(
        RequestBuilder().knownFingerprint(upperCase, first.string(uuid, "fingerprint")));
    EXPECT_THAT(library.receivedFiles(), ElementsAre(uuid + ".data"));
}

TEST(SnapshotExport, ComparesFingerprintsExactly) {
    HostWithThing host;
    std::string upperCase = host.first.string(firstId, "fingerprint");
    for (char& c : upperCase) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    (void)host.library.exchange(RequestBuilder().knownFingerprint(firstId, upperCase));
    EXPECT_THAT(host.library.receivedFiles(), testing::SizeIs(3));
}

TEST(SnapshotExport, HasAnotherFingerprintWhenOneByteOfTheIconChanges) {
    HostWithThing host;
    host.thing.with("icon", host.library.putFile("in/icon", "the Icon"));
    const Response response = host.library.exchange(
        RequestBuilder()
            .record(host.thing)
            .knownFingerprint(firstId, host.first.string(firstId, "fingerprint")));
    EXPECT_NE(response.string(firstId, "fingerprint"), host.first.string(firstId, "fingerprint"));
    EXPECT_EQ(response.string(firstId, "icon"), host.first.string(firstId, "icon"));
    EXPECT_EQ(response.string(firstId, "fileFingerprint"),
              host.first.string(firstId, "fileFingerprint"));
    EXPECT_EQ(host.library.received(firstId, "icon"), "the Icon");
}

TEST(SnapshotExport, OverwritesAnOlderFile) {
    HostWithThing host;
    writeFile(host.library.receivedFolder() + "/" + firstId + ".data",
              "old and much longer than that");
    (void)host.library.exchange();
    EXPECT_EQ(host.library.received(firstId, "data"), "the data");
}

TEST(SnapshotExport, ReplacesALinkInsteadOfWritingThroughIt) {
    HostWithThing host;
    const std::string outside = host.library.platform().folder.write("outside", "mine");
    const std::string target = host.library.receivedFolder() + "/" + firstId + ".data";
    std::filesystem::create_directories(host.library.receivedFolder());
    std::filesystem::create_symlink(outside, target);
    (void)host.library.exchange();
    EXPECT_EQ(readFile(outside), "mine");
    EXPECT_EQ(readFile(target), "the data");
}

TEST(SnapshotExport, LeavesFilesOfThingsThatAreGone) {
    HostWithThing host;
    (void)host.library.exchange();
    (void)host.library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", firstId)));
    EXPECT_EQ(host.library.received(firstId, "data"), "the data");
}

TEST(SnapshotExport, LeavesNoTemporaryFile) {
    HostWithThing host;
    (void)host.library.exchange();
    EXPECT_THAT(namesIn(host.library.receivedFolder()), testing::SizeIs(3));
}

TEST(SnapshotExport, OfAnUnchangedThingIsWrittenWithoutReadingItsPayloads) {
    HostWithThing host;
    const auto& files = *host.library.platform().files;
    const std::uint64_t created = files.count(FileOperation::create);
    const std::uint64_t opened = files.count(FileOperation::openForReading);
    (void)host.library.exchange(
        RequestBuilder().knownFingerprint(firstId, host.first.string(firstId, "fingerprint")));
    EXPECT_EQ(files.count(FileOperation::create), created);
    EXPECT_EQ(files.count(FileOperation::openForReading), opened + 1) << "the marker alone";
}

// --- Failures: they come after the save
// -----------------------------------------------------------

/// The host's record is in the store although the export of this exchange has failed.
void expectSaved(TestLibrary& library) {
    library.platform().files->heal();
    EXPECT_EQ(library.exchange().string(firstId, "title"), "saved");
}

RequestBuilder requestToSave(TestLibrary& library) {
    return RequestBuilder().record(RecordBuilder::thing(firstId)
                                       .with("title", "saved")
                                       .with("data", library.putFile("in", "bytes"))
                                       .with("icon", library.putFile("in", "bytes")));
}

TEST(SnapshotExport, FailsWithTheFileSystemsErrorWhenTheFolderCannotBeMade) {
    TestLibrary library;
    library.platform().files->fail({.operation = FileOperation::createFolders,
                                    .pathPattern = "*/received",
                                    .errorNumber = EROFS});
    const Response response = library.exchange(requestToSave(library));
    EXPECT_EQ(response.error(),
              "The file “received” couldn’t be saved in the folder “exchange” because the volume "
              "is read only.");
    expectSaved(library);
}

TEST(SnapshotExport, IsTheFirstToLookAtTheFolderOfARequestWithoutFiles) {
    TestLibrary library;
    const RequestBuilder request =
        RequestBuilder().record(RecordBuilder::thing(firstId).with("title", "saved"));
    library.platform().files->fail(
        {.operation = std::nullopt, .pathPattern = "*/exchange*", .errorNumber = EACCES});
    EXPECT_EQ(library.exchange(request).error(),
              "You don’t have permission to save the file “received” in the folder “exchange”.");
    expectSaved(library);
}

TEST(SnapshotExport, WritesThePayloadsOfAThingInTheirOrder) {
    const std::vector<std::string> keys{"data", "thumbnail", "icon"};
    std::vector<std::string> before;
    for (const std::string& failing : keys) {
        TestLibrary library;
        RecordBuilder thing = RecordBuilder::thing(firstId);
        for (const std::string& key : keys) thing.with(key, library.putFile("in/" + key, key));
        library.platform().files->fail(
            {.operation = FileOperation::rename, .pathPattern = "*/received/*." + failing});
        EXPECT_TRUE(library.exchange(RequestBuilder().record(thing)).isError());
        EXPECT_THAT(library.receivedFiles(), testing::UnorderedElementsAreArray(before)) << failing;
        before.push_back(firstId + "." + failing);
    }
}

TEST(SnapshotExport, FailsWhenAFileStandsWhereTheFolderShouldBe) {
    TestLibrary library;
    writeFile(library.receivedFolder(), "a file");
    EXPECT_TRUE(library.exchange(requestToSave(library)).isError());
    EXPECT_EQ(readFile(library.receivedFolder()), "a file");
    std::filesystem::remove(library.receivedFolder());
    expectSaved(library);
}

TEST(SnapshotExport, FailsWithTheFileSystemsErrorWhenAPayloadCannotBeWritten) {
    TestLibrary library;
    library.platform().files->fail({.operation = FileOperation::rename,
                                    .pathPattern = "*/received/*.icon",
                                    .errorNumber = ENOSPC});
    const Response response = library.exchange(requestToSave(library));
    EXPECT_TRUE(response.isError());
    EXPECT_THAT(response.error(), testing::HasSubstr("there isn’t enough space"));
    EXPECT_THAT(library.receivedFiles(), ElementsAre(firstId + ".data"))
        << "files written before stay, and nothing else";
    expectSaved(library);
}

TEST(SnapshotExport, WritesNothingThroughALinkInThePlaceOfReceived) {
    TestLibrary library;
    const std::string outside = library.platform().folder.path("elsewhere");
    std::filesystem::create_directories(outside);
    std::filesystem::create_directory_symlink(outside, library.receivedFolder());
    library.putFile("file", "bytes");
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("data", library.exchangeFolder() + "/file")));
    EXPECT_THAT(response.error(),
                testing::HasSubstr("“received” in the exchange folder is a link"));
    EXPECT_TRUE(std::filesystem::is_empty(outside));
}

}  // namespace
}  // namespace kelto
