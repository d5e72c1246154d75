#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/ExchangeDispatch.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

// What the library remembers of the last exchange saves work, and must never be seen: a request
// that repeats records of the last one comes to what it would come to for the first time.

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string projectId = identifier(0xA);
const std::string tagId = identifier(0xB);

class RepeatedRequest : public testing::Test {
protected:
    RepeatedRequest() {
        // All files are old, unless a test makes the clock agree with them.
        library.platform().clock->current = Date{4'100'000'000.0};
    }
    static RecordBuilder thing() {
        return RecordBuilder::thing(firstId).with("title", "title").with("updatedAt", 1000);
    }
    /// The exchange, and how many records it took apart.
    Response exchange(const RequestBuilder& request) {
        const WorkCounters before = workSoFar();
        Response response = library.exchange(request);
        recordsRead = (workSoFar() - before)[Work::recordsRead];
        return response;
    }

    TestLibrary library;
    std::uint64_t recordsRead = 0;
};

// --- Files
// ----------------------------------------------------------------------------------------

/// Writes the file anew with other bytes of the same size, and lets it look as before as far as a
/// host can do so.
TEST_F(RepeatedRequest, SeesAFileThatWasReplacedWithinOneStepOfTheClock) {
    const std::string path = library.putFile("file", "first");
    const auto written = library.platform().files->status(path)->changedNanoseconds;
    // Still within the coarsest step that file systems have.
    library.platform().clock->current = Date{static_cast<double>(written) / 1e9 + 0.001};
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    const Response first = exchange(request);
    // In place: the same inode and size, and on most file systems the same times.
    writeFile(path, "other");
    const Response second = exchange(request);
    EXPECT_NE(second.string(firstId, "fileFingerprint"), first.string(firstId, "fileFingerprint"));
    EXPECT_EQ(library.received(firstId, "data"), "other");
}

TEST_F(RepeatedRequest, SeesAFileThatWasWrittenAnew) {
    const std::string path = library.putFile("file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    (void)exchange(request);
    std::filesystem::remove(path);
    library.putFile("between", "so that the inode is another");
    library.putFile("file", "other");
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "data"), "other");
}

TEST_F(RepeatedRequest, SeesAThumbnailThatGrew) {
    const std::string path = library.putFile("file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("thumbnail", path));
    (void)exchange(request);
    writeFile(path, "first and more");
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "thumbnail"), "first and more");
}

TEST_F(RepeatedRequest, MissesAFileThatIsGone) {
    const std::string path = library.putFile("file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    (void)exchange(request);
    std::filesystem::remove(path);
    EXPECT_THAT(exchange(request).error(), testing::HasSubstr("“file”"));
    EXPECT_TRUE(library.exchange().has(firstId, "data")) << "the store keeps what it has";
}

TEST_F(RepeatedRequest, RefusesAFileInWhosePlaceALinkLeadsOut) {
    const std::string path = library.putFile("file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    (void)exchange(request);
    std::filesystem::remove(path);
    std::filesystem::create_symlink(library.platform().folder.write("outside", "first"), path);
    EXPECT_EQ(exchange(request).error(), "Invalid asset path.");
}

TEST_F(RepeatedRequest, RefusesAFolderInWhosePlaceALinkLeadsOut) {
    const std::string path = library.putFile("sub/file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    (void)exchange(request);
    std::filesystem::rename(library.exchangeFolder() + "/sub",
                            library.platform().folder.path("moved"));
    std::filesystem::create_directory_symlink(library.platform().folder.path("moved"),
                                              library.exchangeFolder() + "/sub");
    EXPECT_EQ(exchange(request).error(), "Invalid asset path.")
        << "the very same file, but no longer in the folder";
}

TEST_F(RepeatedRequest, SaysThatAFileMayNotBeRead) {
    const std::string path = library.putFile("file", "first");
    const RequestBuilder request = RequestBuilder().record(thing().with("data", path));
    (void)exchange(request);
    std::filesystem::permissions(path, std::filesystem::perms::none);  // changes its time, too
    FaultyFileSystem& files = *library.platform().files;
    // Also where the test runs as the superuser, who may read everything.
    files.fail({.operation = FileOperation::openForReading,
                .pathPattern = "*/file",
                .errorNumber = EACCES});
    EXPECT_THAT(exchange(request).error(), testing::HasSubstr("“file”"));
}

TEST_F(RepeatedRequest, BringsBackALargePayloadThatTheStoreHasLost) {
    const std::string bytes(100'000, 'x');
    const RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", bytes)));
    (void)exchange(request);
    ASSERT_EQ(library.externalFiles().size(), 1);
    std::filesystem::remove(library.externalFolder() + "/" + library.externalFiles().front());
    library.clearReceived();
    EXPECT_EQ(exchange(request).error(), "");
    EXPECT_EQ(library.received(firstId, "data"), bytes);
}

TEST_F(RepeatedRequest, SeesEachOfSeveralFilesChange) {
    const std::vector<std::string> keys{"data", "thumbnail", "icon"};
    RecordBuilder record = thing();
    for (const std::string& key : keys) record.with(key, library.putFile(key, "first"));
    const RequestBuilder request = RequestBuilder().record(record);
    (void)exchange(request);
    for (const std::string& key : keys) {
        (void)exchange(request);
        EXPECT_EQ(recordsRead, 0);
        library.putFile(key, "other " + key);
        (void)exchange(request);
        EXPECT_EQ(library.received(firstId, key), "other " + key);
    }
}

TEST_F(RepeatedRequest, SeesAFileBehindALinkChange) {
    library.putFile("file", "first");
    const std::string link = library.exchangeFolder() + "/link";
    std::filesystem::create_symlink("file", link);
    const RequestBuilder request = RequestBuilder().record(thing().with("data", link));
    (void)exchange(request);
    (void)exchange(request);
    library.putFile("file", "other");
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "data"), "other");
}

TEST_F(RepeatedRequest, RefusesAFileOfTheFormerFolder) {
    RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    (void)exchange(request);
    const std::string other = library.platform().folder.path("other");
    std::filesystem::create_directory(other);
    EXPECT_EQ(exchange(request.with("directory", other)).error(), "Invalid asset path.");
}

// --- What others have changed
// ---------------------------------------------------------------------

TEST_F(RepeatedRequest, LeavesWhatAnotherProgramHasEditedSince) {
    const RequestBuilder request = RequestBuilder().record(thing());
    (void)exchange(request);
    library.changeStore(R"(UPDATE "Thing" SET "title" = 'newer', "updatedAt" = 9e8)");
    EXPECT_EQ(exchange(request).string(firstId, "title"), "newer");
}

TEST_F(RepeatedRequest, WinsAgainOverWhatAnotherProgramHasEditedBefore) {
    const RequestBuilder request = RequestBuilder().record(thing());
    (void)exchange(request);
    library.changeStore(R"(UPDATE "Thing" SET "title" = 'older', "updatedAt" = 0.5)");
    EXPECT_EQ(exchange(request).string(firstId, "title"), "title");
}

TEST_F(RepeatedRequest, MakesAnItemAnewThatWasDeletedSince) {
    const RequestBuilder request = RequestBuilder().record(thing());
    (void)exchange(request);
    (void)exchange(RequestBuilder(request).record(RecordBuilder::deletion("Thing", firstId)));
    EXPECT_THAT(library.exchange().records(), IsEmpty());
    EXPECT_EQ(exchange(request).string(firstId, "title"), "title");
}

TEST_F(RepeatedRequest, MakesAnItemAnewThatAnotherProgramHasDeleted) {
    const RequestBuilder request = RequestBuilder().record(thing());
    (void)exchange(request);
    library.changeStore(R"(DELETE FROM "Thing")");
    EXPECT_EQ(exchange(request).string(firstId, "title"), "title");
}

TEST_F(RepeatedRequest, IsRefusedOnceAnotherProgramHasMadeADuplicate) {
    const RequestBuilder request =
        RequestBuilder().record(thing()).record(RecordBuilder::thing(identifier(2)));
    (void)exchange(request);
    library.changeStore(R"(UPDATE "Thing" SET "uuid" = (SELECT "uuid" FROM "Thing" LIMIT 1))");
    EXPECT_EQ(exchange(request).error(),
              "The iCloud library contains duplicate identifiers. Sync paused to preserve your "
              "data.");
}

// --- What a record depends on besides its item
// ---------------------------------------------------------------------

TEST_F(RepeatedRequest, TakesUpATagThatHasCome) {
    const RecordBuilder record = thing().withTags({tagId});
    EXPECT_THAT(exchange(RequestBuilder().record(record)).strings(firstId, "tags"), IsEmpty());
    const Response response =
        exchange(RequestBuilder().record(record).record(RecordBuilder::tag(tagId)));
    EXPECT_THAT(response.strings(firstId, "tags"), ElementsAre(tagId));
}

TEST_F(RepeatedRequest, TakesUpATagThatAnotherRequestHasBrought) {
    const RequestBuilder request = RequestBuilder().record(thing().withTags({tagId}));
    (void)exchange(request);
    library.restart();
    (void)exchange(request);
    library.changeStore(
        "INSERT INTO \"Tag\" (\"uuid\", \"name\", \"createdAt\") VALUES "
        "(x'5eed000000004000800000000000000b', 'new', 0)");
    EXPECT_THAT(exchange(request).strings(firstId, "tags"), ElementsAre(tagId));
}

TEST_F(RepeatedRequest, TakesUpAProjectThatHasCome) {
    const RecordBuilder record = thing().with("project", projectId);
    EXPECT_FALSE(exchange(RequestBuilder().record(record)).has(firstId, "project"));
    const Response response =
        exchange(RequestBuilder().record(record).record(RecordBuilder::project(projectId)));
    EXPECT_EQ(response.string(firstId, "project"), projectId);
}

TEST_F(RepeatedRequest, LosesATagThatTheSameRequestDeletes) {
    const RequestBuilder request =
        RequestBuilder().record(RecordBuilder::tag(tagId)).record(thing().withTags({tagId}));
    (void)exchange(request);
    const RequestBuilder deleting =
        RequestBuilder(request).record(RecordBuilder::deletion("Tag", tagId));
    EXPECT_THAT(exchange(deleting).strings(firstId, "tags"), IsEmpty());
    EXPECT_THAT(exchange(deleting).strings(firstId, "tags"), IsEmpty());
    EXPECT_THAT(exchange(request).strings(firstId, "tags"), ElementsAre(tagId));
}

TEST_F(RepeatedRequest, GoesByFingerprintsOnceItsProjectIsLinked) {
    const RecordBuilder old =
        thing().with("project", projectId).with("baseFileFingerprint", "base");
    (void)exchange(
        RequestBuilder()
            .record(RecordBuilder::project(projectId))
            .record(
                thing().with("title", "newer").with("project", projectId).with("updatedAt", 5000)));
    const RequestBuilder request =
        RequestBuilder().record(RecordBuilder::project(projectId)).record(old);
    EXPECT_EQ(exchange(request).string(firstId, "title"), "newer");
    library.changeStore(R"(UPDATE "Project" SET "linkedFolderOwner" = 'Mac')");
    const Response response = exchange(request);
    EXPECT_EQ(response.string(firstId, "title"), "title") << "both sides differ from the base";
    EXPECT_EQ(response.identifiers("Thing").size(), 2) << "a conflict copy";
}

TEST_F(RepeatedRequest, LinksItsProjectAfterTheItemInTheSameRequest) {
    (void)exchange(
        RequestBuilder()
            .record(RecordBuilder::project(projectId))
            .record(
                thing().with("title", "newer").with("project", projectId).with("updatedAt", 5000)));
    const RequestBuilder request =
        RequestBuilder()
            .record(thing().with("project", projectId).with("baseFileFingerprint", "base"))
            .record(RecordBuilder::project(projectId).with("linkedFolderOwner", "Mac"));
    EXPECT_EQ(exchange(request).string(firstId, "title"), "newer")
        << "not linked when it is looked at";
    EXPECT_EQ(exchange(request).string(firstId, "title"), "title") << "linked from the start";
}

TEST_F(RepeatedRequest, WithTheSameItemTwiceComesToTheSame) {
    const RequestBuilder request =
        RequestBuilder()
            .record(RecordBuilder::project(projectId).with("linkedFolderOwner", "Mac"))
            .record(thing().with("project", projectId).with("baseFileFingerprint", "base"))
            .record(thing()
                        .with("title", "other")
                        .with("project", projectId)
                        .with("baseFileFingerprint", "base"));
    TestLibrary forgetful;  // starts anew before every exchange
    for (int i = 0; i < 4; ++i) {
        forgetful.restart();
        EXPECT_EQ(exchange(request).identifiers("Thing").size(),
                  forgetful.exchange(request).identifiers("Thing").size());
    }
}

// --- The request as a whole
// ------------------------------------------------------------------------

TEST_F(RepeatedRequest, WithTwoListsOfRecordsTakesTheLast) {
    const std::string text =
        RequestBuilder().record(thing()).text(library.storePath(), library.exchangeFolder());
    const std::string name = "\"records\":";
    const std::size_t place = text.find(name);
    ASSERT_NE(place, std::string::npos);
    const std::string other = R"([{"uuid":")" + identifier(7) + R"(","recordType":"Tag"},)" +
                              R"({"uuid":")" + firstId + R"(","recordType":"Thing"}],)";
    std::string twice = text;
    twice.insert(place, name + other);
    for (int i = 0; i < 4; ++i) {
        const Response response(library.exchangeText(twice));
        EXPECT_EQ(response.error(), "");
        EXPECT_EQ(response.string(firstId, "title"), "title");
        EXPECT_THAT(response.identifiers("Tag"), IsEmpty());
    }
}

TEST_F(RepeatedRequest, ThatDeletesComesToTheSameEachTime) {
    const RequestBuilder request = RequestBuilder()
                                       .record(RecordBuilder::deletion("Tag", tagId))
                                       .record(RecordBuilder::tag(tagId))
                                       .record(thing().withTags({tagId}));
    for (int i = 0; i < 3; ++i) {
        const Response response = exchange(request);
        EXPECT_THAT(response.identifiers("Tag"), IsEmpty());
        EXPECT_THAT(response.strings(firstId, "tags"), IsEmpty());
        EXPECT_EQ(response.string(firstId, "title"), "title");
    }
}

TEST_F(RepeatedRequest, WithTwoRecordsOfATagLeavesItWithTheLastName) {
    const RequestBuilder request = RequestBuilder()
                                       .record(RecordBuilder::tag(tagId).with("name", "one"))
                                       .record(RecordBuilder::tag(tagId).with("name", "other"));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(exchange(request).string(tagId, "name"), "other");
}

TEST_F(RepeatedRequest, GivesBackWhatAnotherRequestHasTakenInBetween) {
    const RequestBuilder request = RequestBuilder().record(RecordBuilder::tag(tagId));
    const RequestBuilder other =
        RequestBuilder().record(RecordBuilder::tag(tagId).with("name", "other"));
    const Response first = exchange(request);
    EXPECT_EQ(exchange(other).string(tagId, "name"), "other");
    EXPECT_EQ(exchange(other).string(tagId, "name"), "other");
    EXPECT_EQ(exchange(request).text(), first.text());
}

// --- After a failure
// ------------------------------------------------------------------------------

TEST_F(RepeatedRequest, IsMergedAfterOneThatFailed) {
    const RequestBuilder first = RequestBuilder().record(thing());
    (void)exchange(first);
    const RequestBuilder failing =
        RequestBuilder()
            .record(thing().with("title", "lost").with("updatedAt", 2000))
            .record(RecordBuilder::thing("no identifier"));
    EXPECT_TRUE(exchange(failing).isError());
    EXPECT_EQ(exchange(first).string(firstId, "title"), "title");
    const RequestBuilder edited =
        RequestBuilder().record(thing().with("title", "lost").with("updatedAt", 2000));
    EXPECT_EQ(exchange(edited).string(firstId, "title"), "lost");
}

TEST_F(RepeatedRequest, IsMergedAfterOneWhoseFilesCouldNotBeWritten) {
    const RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    FaultyFileSystem& files = *library.platform().files;
    files.fail({.operation = FileOperation::rename, .pathPattern = "*/received/*"});
    EXPECT_TRUE(exchange(request).isError());
    files.heal();
    EXPECT_EQ(exchange(request).error(), "");
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
}

// --- The response
// ---------------------------------------------------------------------------------

TEST_F(RepeatedRequest, ShowsTheStatusOfNow) {
    const RequestBuilder request = RequestBuilder().record(thing());
    EXPECT_EQ(exchange(request).status(), "iCloud enabled — waiting for sync");
    library.post({.type = MirroringEvent::Type::exportToCloud,
                  .succeeded = true,
                  .endDate = Date{5},
                  .error = std::nullopt});
    const Response response = exchange(request);
    EXPECT_EQ(response.status(), "iCloud enabled");
    EXPECT_EQ(response.lastSync(), 5000);
    EXPECT_EQ(response.string(firstId, "title"), "title");
}

TEST_F(RepeatedRequest, WritesFilesIntoTheFolderOfNow) {
    const RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    (void)exchange(request);
    const std::string other = library.platform().folder.path("other");
    std::filesystem::create_directory(other);
    const Response response = exchange(RequestBuilder().with("directory", other));
    EXPECT_EQ(response.string(firstId, "data"), other + "/received/" + firstId + ".data");
    EXPECT_EQ(readFile(response.string(firstId, "data")), "bytes");
}

TEST_F(RepeatedRequest, WritesFilesAgainForAHostThatHoldsNone) {
    const RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    (void)exchange(request);
    library.clearReceived();
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
}

TEST_F(RepeatedRequest, WritesNoFileForAHostThatHoldsIt) {
    RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    request.knownFingerprint(firstId, exchange(request).string(firstId, "fingerprint"));
    (void)exchange(request);
    library.clearReceived();
    (void)exchange(request);
    EXPECT_THAT(library.receivedFiles(), IsEmpty());
}

TEST_F(RepeatedRequest, WritesAFileForAHostThatHoldsItNoMore) {
    RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    RequestBuilder knowing = request;
    knowing.knownFingerprint(firstId, exchange(request).string(firstId, "fingerprint"));
    (void)exchange(knowing);
    library.clearReceived();
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
}

TEST_F(RepeatedRequest, WritesAFileWhenAnotherProgramHasChangedTheItem) {
    RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    request.knownFingerprint(firstId, exchange(request).string(firstId, "fingerprint"));
    (void)exchange(request);
    library.clearReceived();
    library.changeStore(R"(UPDATE "Thing" SET "title" = 'newer', "updatedAt" = 9e8)");
    (void)exchange(request);
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
}

TEST_F(RepeatedRequest, KeepsTheOrderOfTheResponse) {
    RequestBuilder request;
    for (unsigned i = 1; i <= 5; ++i) request.record(RecordBuilder::thing(identifier(i)));
    const auto first = exchange(request).identifiers("Thing");
    RequestBuilder edited = request;
    edited.record(RecordBuilder::thing(identifier(3)).with("title", "edited"));
    EXPECT_EQ(exchange(edited).identifiers("Thing"), first);
    edited.record(RecordBuilder::deletion("Thing", identifier(2)));
    EXPECT_THAT(exchange(edited).identifiers("Thing"),
                ElementsAre(identifier(1), identifier(3), identifier(4), identifier(5)));
    EXPECT_EQ(exchange(request).identifiers("Thing").back(), identifier(2));
}

/// What the callback of a host is given stays as it is until the callback returns, whatever
/// exchanges the host runs to their ends meanwhile.
struct Reader {
    TestLibrary* library = nullptr;
    std::string before;  ///< The response when the callback began.
    std::string after;   ///< The same memory, when it ended.
};

TEST_F(RepeatedRequest, LeavesAResponseThatAHostIsStillReading) {
    RequestBuilder request;
    for (unsigned i = 1; i <= 20; ++i) request.record(RecordBuilder::thing(identifier(i)));
    (void)exchange(request);
    Reader reader{&library, {}, {}};
    RequestIntake intake;
    dispatchExchange(
        library.platform().platform(),
        [this](LargeText text) { return library.store().exchange(std::move(text)); },
        intake,
        request.text(library.storePath(), library.exchangeFolder()),
        reinterpret_cast<std::intptr_t>(&reader),
        [](std::intptr_t context, const char* response) {
            auto& reading = *reinterpret_cast<Reader*>(context);
            reading.before = response;
            const Response other = reading.library->exchange(RequestBuilder().record(
                RecordBuilder::thing(identifier(1)).with("title", "x").with("updatedAt", 9e12)));
            EXPECT_EQ(other.string(identifier(1), "title"), "x");
            reading.after = response;
        });
    library.run();
    EXPECT_FALSE(reader.before.empty());
    EXPECT_EQ(reader.after, reader.before);
}

/// Of a number, the one that was read before may be no more than the beginning.
TEST_F(RepeatedRequest, PassesOverFingerprintsThatAreNone) {
    for (const char* none : {"1", "12", "12", "\"1\"", "\"12\"", "null"}) {
        RequestBuilder request = RequestBuilder().record(thing());
        request.with("knownFingerprints", JsonValue::parse(none));
        EXPECT_EQ(exchange(request).error(), "") << none;
    }
}

TEST_F(RepeatedRequest, KnowsFingerprintsThatAreWrittenWithEscapes) {
    const RequestBuilder request =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    RequestBuilder knowing = request;
    knowing.knownFingerprint(firstId, exchange(request).string(firstId, "fingerprint"));
    std::string text = knowing.text(library.storePath(), library.exchangeFolder());
    const std::size_t first = text.find("\":\"", text.find("Thing:")) + 3;
    text.replace(first,
                 1,
                 std::string("\\u00") + (text[first] < 'a' ? "3" : "6") +
                     std::string(1, static_cast<char>('0' + (text[first] & 0xF))));
    for (int i = 0; i < 3; ++i) {
        library.clearReceived();
        EXPECT_FALSE(Response(library.exchangeText(text)).isError());
        EXPECT_THAT(library.receivedFiles(), IsEmpty());
    }
}

// --- How much is recognised
// ---------------------------------------------------------------------

TEST_F(RepeatedRequest, TakesNoRecordApartThatItKnows) {
    const RequestBuilder request =
        RequestBuilder().record(thing()).record(RecordBuilder::tag(tagId));
    (void)exchange(request);
    EXPECT_EQ(recordsRead, 2);
    (void)exchange(request);
    EXPECT_EQ(recordsRead, 0);
}

TEST_F(RepeatedRequest, LooksOnlyAtTheFilesOfWhatItRepeats) {
    RequestBuilder whole;
    RequestBuilder part;
    for (unsigned i = 1; i <= 40; ++i) {
        const RecordBuilder record =
            RecordBuilder::thing(identifier(i))
                .with("data", library.putFile("file" + std::to_string(i), "bytes"));
        whole.record(record);
        if (i <= 3) part.record(record);
    }
    (void)exchange(whole);
    const FaultyFileSystem& files = *library.platform().files;
    const std::uint64_t looks = files.count(FileOperation::status);
    (void)exchange(part);
    EXPECT_EQ(recordsRead, 0);
    EXPECT_LT(files.count(FileOperation::status) - looks, 20) << "not 40";
}

TEST_F(RepeatedRequest, FindsItsFilesInManyFolders) {
    RequestBuilder request;
    for (unsigned i = 1; i <= 150; ++i) {
        const std::string path = "folder" + std::to_string(i) + "/file";
        request.record(
            RecordBuilder::thing(identifier(i)).with("data", library.putFile(path, "bytes")));
    }
    (void)exchange(request);
    (void)exchange(request);
    EXPECT_EQ(recordsRead, 0);
    library.putFile("folder77/file", "other");
    const Response response = exchange(request);
    EXPECT_EQ(recordsRead, 1);
    EXPECT_EQ(library.received(identifier(77), "data"), "other");
}

TEST_F(RepeatedRequest, ReadsADeletionEveryTime) {
    const RequestBuilder request =
        RequestBuilder().record(thing()).record(RecordBuilder::deletion("Tag", tagId));
    (void)exchange(request);
    (void)exchange(request);
    EXPECT_EQ(recordsRead, 1);
}

TEST_F(RepeatedRequest, StillFindsFaultsBehindWhatItKnows) {
    const std::string text =
        RequestBuilder().record(thing()).text(library.storePath(), library.exchangeFolder());
    (void)library.exchangeText(text);
    const std::string end = text.substr(text.find("]", text.find("records")));
    std::string broken = text;
    broken.replace(broken.size() - end.size(), end.size(), ",]}");
    EXPECT_TRUE(Response(library.exchangeText(broken)).isError());
    broken = text;
    broken.insert(broken.size() - end.size(), "x");
    EXPECT_TRUE(Response(library.exchangeText(broken)).isError());
}

/// Of two exchanges that wait at the same time, the first to end replaces what the other was read
/// against.
TEST_F(RepeatedRequest, GoesOnWithWhatItWasReadAgainst) {
    RequestBuilder first =
        RequestBuilder().record(thing().with("data", library.putFile("file", "bytes")));
    first.knownFingerprint(firstId, exchange(first).string(firstId, "fingerprint"));
    (void)exchange(first);
    library.clearReceived();
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto waiting = library.begin(first);
    account.holdsAnswersBack = false;
    (void)exchange(RequestBuilder().record(thing().with("title", "newer").with("updatedAt", 5000)));
    account.release();
    library.run();
    EXPECT_EQ(waiting->response().string(firstId, "title"), "newer");
    EXPECT_FALSE(waiting->response().has(firstId, "data"));
    EXPECT_EQ(exchange(RequestBuilder()).string(firstId, "title"), "newer");
}

}  // namespace
}  // namespace kelto
