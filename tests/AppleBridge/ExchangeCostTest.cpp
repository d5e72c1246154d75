#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/WorkCounters.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

constexpr unsigned thingCount = 30;
constexpr std::size_t payloadBytes = 5000;
constexpr std::size_t largePayloadBytes = 100'000;  // too many for the database
const std::string project = identifier(0xA0);
const std::string tag = identifier(0xB0);

/// A host with a library of things, each in a project and with a tag, every third with a payload
/// file. It sends its whole snapshot every time, an unchanged record always as the same text.
class Host {
public:
    Host() {
        // All files are old: nothing in this test happens within one step of a clock.
        library.platform().clock->current = Date{4'100'000'000.0};
        records.push_back(RecordBuilder::project(project).with("name", "project"));
        records.push_back(RecordBuilder::tag(tag).with("name", "tag"));
        for (unsigned i = 1; i <= thingCount; ++i) records.push_back(thing(i));
    }

    RecordBuilder thing(unsigned number) {
        RecordBuilder record = RecordBuilder::thing(identifier(number));
        record.with("title", "title " + std::to_string(number))
            .with("updatedAt", 1000)
            .with("project", project)
            .withTags({tag});
        if (number % 3 != 0) return record;
        const std::size_t size = number == 3 ? largePayloadBytes : payloadBytes;
        const std::string name = "file" + std::to_string(number);
        return record.with("data", library.putFile(name, std::string(size, 'a')));
    }

    /// One exchange of the whole snapshot.
    Response answer() {
        const WorkCounters before = workSoFar();
        Response response = library.exchange(request());
        work = workSoFar() - before;
        return response;
    }
    /// The same, after which the host knows what it has received.
    Response exchange() {
        Response response = answer();
        for (unsigned i = 1; i <= thingCount; ++i) {
            known[i] = response.string(identifier(i), "fingerprint");
        }
        return response;
    }

    RequestBuilder request() {
        RequestBuilder request;
        for (const RecordBuilder& record : records) request.record(record);
        for (const auto& [number, fingerprint] : known) {
            request.knownFingerprint(identifier(number), fingerprint);
        }
        return request;
    }

    RecordBuilder& record(unsigned number) { return records[number + 1]; }

    TestLibrary library;
    std::vector<RecordBuilder> records;
    std::map<unsigned, std::string> known;
    WorkCounters work;
};

class ExchangeCost : public testing::Test {
protected:
    ExchangeCost() {
        (void)host.exchange();
        (void)host.exchange();  // the first with all fingerprints
    }
    [[nodiscard]] std::uint64_t done(Work kind) const { return host.work[kind]; }

    Host host;
};

TEST_F(ExchangeCost, OfAnUnchangedSnapshotIsALookAtEachFile) {
    const Response response = host.exchange();
    EXPECT_THAT(response.records(), testing::SizeIs(thingCount + 2));
    EXPECT_EQ(done(Work::payloadBytesRead), 0);
    EXPECT_EQ(done(Work::payloadBytesWritten), 0);
    EXPECT_EQ(done(Work::digests), 0);
    EXPECT_EQ(done(Work::rowsWritten), 0);
    EXPECT_EQ(done(Work::filesWritten), 0);
    EXPECT_EQ(done(Work::recordsRead), 0);
    EXPECT_EQ(done(Work::objectsLoaded), 0);
    EXPECT_EQ(done(Work::thingsPrinted), 0);
}

TEST_F(ExchangeCost, OfAnUnchangedSnapshotWritesNothingToTheStore) {
    const auto store = host.library.platform().files->status(host.library.storePath());
    const auto log = host.library.platform().files->status(host.library.storePath() + "-wal");
    (void)host.exchange();
    EXPECT_EQ(host.library.platform().files->status(host.library.storePath()), store);
    EXPECT_EQ(host.library.platform().files->status(host.library.storePath() + "-wal"), log);
}

TEST_F(ExchangeCost, OfTheSameSnapshotInOtherWordsIsReadingAndComparing) {
    for (RecordBuilder& record : host.records) record.with("aKeyOfALaterVersion", 5);
    (void)host.exchange();
    EXPECT_EQ(done(Work::recordsRead), thingCount + 2);
    EXPECT_EQ(done(Work::thingsPrinted), 0);
    EXPECT_EQ(done(Work::payloadBytesRead), 0);
    EXPECT_EQ(done(Work::digests), 0);
    EXPECT_EQ(done(Work::rowsWritten), 0);
    EXPECT_EQ(done(Work::filesWritten), 0);
}

TEST_F(ExchangeCost, OfAnEditIsThatItem) {
    host.record(7).with("title", "another").with("updatedAt", 2000);
    const Response response = host.exchange();
    EXPECT_EQ(response.string(identifier(7), "title"), "another");
    EXPECT_EQ(done(Work::recordsRead), 1);
    EXPECT_EQ(done(Work::rowsWritten), 1);
    EXPECT_EQ(done(Work::digests), 2) << "of its file and of its record";
    EXPECT_EQ(done(Work::thingsPrinted), 1);
    EXPECT_EQ(done(Work::payloadBytesRead), 0);
    EXPECT_EQ(done(Work::filesWritten), 0);
}

TEST_F(ExchangeCost, OfANewPayloadIsItsBytes) {
    constexpr std::size_t size = 7000;
    host.record(6)
        .with("data", host.library.putFile("new", std::string(size, 'b')))
        .with("updatedAt", 2000);
    (void)host.exchange();
    EXPECT_EQ(done(Work::payloadBytesRead), size);
    EXPECT_EQ(done(Work::payloadBytesWritten), 2 * size) << "into the store and for the host";
    EXPECT_EQ(done(Work::digests), 3)
        << "of the bytes as they come, of the item's file and of its record";
    EXPECT_EQ(done(Work::filesWritten), 1);
    EXPECT_EQ(done(Work::recordsRead), 1);
}

TEST_F(ExchangeCost, OfAnEditedItemWithAFileWritesThatFileAgain) {
    host.record(6).with("title", "another").with("updatedAt", 2000);
    (void)host.exchange();
    EXPECT_EQ(done(Work::filesWritten), 1);
    EXPECT_EQ(done(Work::payloadBytesRead), 0);
    EXPECT_EQ(done(Work::payloadBytesWritten), payloadBytes);
}

TEST_F(ExchangeCost, OfAnAddedItemIsThatItem) {
    host.records.push_back(RecordBuilder::thing(identifier(0xC0)).with("title", "new"));
    (void)host.exchange();
    EXPECT_EQ(done(Work::recordsRead), 1);
    EXPECT_EQ(done(Work::rowsWritten), 1);
    EXPECT_EQ(done(Work::thingsPrinted), 1);
}

TEST_F(ExchangeCost, OfADeletedItemPrintsNoOther) {
    host.records.push_back(RecordBuilder::deletion("Thing", identifier(8)));
    const Response response = host.answer();
    EXPECT_FALSE(response.find(identifier(8)));
    EXPECT_EQ(done(Work::thingsPrinted), 0);
}

TEST_F(ExchangeCost, OfAnotherStatusPrintsNoThing) {
    host.library.post({.type = MirroringEvent::Type::exportToCloud,
                       .succeeded = true,
                       .endDate = Date{5},
                       .error = std::nullopt});
    EXPECT_EQ(host.exchange().lastSync(), 5000);
    EXPECT_EQ(done(Work::thingsPrinted), 0);
}

TEST_F(ExchangeCost, OfAMovedRecordIsThatRecord) {
    const RecordBuilder moved = host.records.back();
    host.records.pop_back();
    host.records.insert(host.records.begin(), moved);
    (void)host.exchange();
    EXPECT_EQ(done(Work::recordsRead), 1);
    EXPECT_EQ(done(Work::rowsWritten), 0);
}

TEST_F(ExchangeCost, OfALeftOutRecordIsItsSuccessor) {
    host.records.erase(host.records.begin() + 10);
    (void)host.exchange();
    EXPECT_EQ(done(Work::recordsRead), 1);
    EXPECT_EQ(done(Work::rowsWritten), 0);
}

TEST_F(ExchangeCost, AfterARestartIsLoadingAndComparing) {
    host.library.restart();
    (void)host.exchange();
    EXPECT_EQ(done(Work::payloadBytesRead), 0) << "the store remembers the files";
    EXPECT_EQ(done(Work::rowsWritten), 0);
    EXPECT_EQ(done(Work::filesWritten), 0);
    EXPECT_EQ(done(Work::objectsLoaded), thingCount + 2);
    EXPECT_EQ(done(Work::thingsPrinted), thingCount);
    EXPECT_EQ(done(Work::digests), 0) << "the rows hold the fingerprints";
}

TEST_F(ExchangeCost, OfAFileThatIsWrittenAgainIsItsBytes) {
    host.library.putFile("file6", std::string(payloadBytes, 'a'));
    (void)host.exchange();
    EXPECT_EQ(done(Work::payloadBytesRead), payloadBytes);
    EXPECT_EQ(done(Work::digests), 1) << "the same bytes again: nothing else has changed";
    EXPECT_EQ(done(Work::filesWritten), 0);
}

TEST_F(ExchangeCost, OfFilesThatTheHostDoesNotHoldIsWritingThem) {
    host.known.clear();
    (void)host.exchange();
    EXPECT_EQ(done(Work::filesWritten), thingCount / 3);
    EXPECT_EQ(done(Work::digests), thingCount / 3)
        << "what was stored by an earlier exchange may have changed";
}

TEST(LinkedFolderCost, OfUnchangedItemsIsNoDigest) {
    Host host;
    host.records[0].with("linkedFolderOwner", "Mac");
    Response response = host.exchange();
    for (unsigned i = 1; i <= thingCount; ++i) {
        host.record(i).with("baseFileFingerprint",
                            response.string(identifier(i), "fileFingerprint"));
    }
    (void)host.exchange();
    for (RecordBuilder& record : host.records) record.with("aKeyOfALaterVersion", 5);
    (void)host.exchange();
    EXPECT_EQ(host.work[Work::recordsRead], thingCount + 2);
    EXPECT_EQ(host.work[Work::digests], 0);
    EXPECT_EQ(host.work[Work::rowsWritten], 0);
    (void)host.exchange();
    EXPECT_EQ(host.work[Work::recordsRead], 0);
    EXPECT_EQ(host.work[Work::digests], 0);
}

}  // namespace
}  // namespace kelto
