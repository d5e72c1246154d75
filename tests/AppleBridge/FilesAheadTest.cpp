// The files of many new records are read by a second thread before their records have their turn.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/FilesAhead.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

/// Knows the files of some sizes, and remembers those of others.
class PickyPayloads final : public PayloadStorage {
public:
    std::uint64_t knownSize = 0;
    bool remembers = true;

    std::optional<Payload> seenBefore(const FileStatus& status) override {
        return status.size == knownSize ? std::optional(Payload{}) : std::nullopt;
    }
    bool mayRemember(const FileStatus&) override { return remembers; }
    ReceivedPayload receive(std::unique_ptr<File>) override { fatalError("not asked for"); }
    ReceivedPayload receive(HashedBytes) override { fatalError("not asked for"); }
    bool isSound(const Payload&, std::uint64_t) override { return true; }
    void keep(ReceivedPayload&) override {}
    void copyTo(const Payload&, File&) override {}
    void handOut(const Payload&, const std::string&, OutgoingFiles&) override {}
    std::uint64_t size(const Payload&) override { return 0; }
};

constexpr std::size_t fileCount = 600;

/// So many files, each named by a record of its own.
class FilesAheadTest : public testing::Test {
protected:
    FilesAheadTest() {
        const RecordValues none{};
        for (std::size_t i = 0; i < fileCount; ++i) {
            names.push_back("file" + std::to_string(i));
            writeFile(path(i), contents(i));
            records.emplace_back("", none);
        }
    }

    [[nodiscard]] std::string path(std::size_t i) const { return folder.path(names[i]); }
    static std::string contents(std::size_t i) { return "contents of " + std::to_string(i); }

    void begin(std::size_t count = fileCount) {
        const std::shared_ptr<Folder> opened = files.openFolder(folder.path());
        for (std::size_t i = 0; i < count; ++i) {
            ahead.add(records[i], RecordKey::data, opened, names[i]);
        }
        ahead.begin();
    }
    FilesAhead::Found take(std::size_t i) { return ahead.take(records[i], RecordKey::data); }

    TemporaryFolder folder;
    PosixFileSystem files;
    std::vector<std::string> names;
    std::vector<Record> records;
    PickyPayloads payloads;
    FilesAhead ahead{payloads};
};

TEST_F(FilesAheadTest, HoldTheBytesOfEach) {
    begin();
    for (std::size_t i = 0; i < fileCount; ++i) {
        const FilesAhead::Found found = take(i);
        ASSERT_TRUE(found.bytes) << i;
        EXPECT_EQ(found.bytes->bytes, contents(i));
        EXPECT_EQ(found.bytes->digest, sha256(contents(i)));
        EXPECT_EQ(found.bytes->identity, found.status);
    }
}

TEST_F(FilesAheadTest, NeedNotAllBeAskedFor) {
    begin();
    for (const std::size_t i : {3U, 255U, 256U, 599U}) {
        EXPECT_EQ(take(i).bytes.value().bytes, contents(i)) << i;
    }
}

TEST_F(FilesAheadTest, AreHandedOverOnce) {
    begin();
    EXPECT_TRUE(take(0).bytes);
    EXPECT_FALSE(take(0).bytes);
}

TEST_F(FilesAheadTest, AreUnknownUnderAnotherKey) {
    begin();
    const FilesAhead::Found found = ahead.take(records[0], RecordKey::icon);
    EXPECT_FALSE(found.status);
    EXPECT_FALSE(found.bytes);
}

TEST_F(FilesAheadTest, AreReadByWhoeverWantsThemWhenTheyHaveChangedMeanwhile) {
    begin();
    EXPECT_TRUE(take(0).bytes);
    writeFile(path(599), "longer than it was when it was looked at");
    EXPECT_FALSE(take(599).bytes);
    EXPECT_TRUE(take(599).status);
}

TEST_F(FilesAheadTest, AreNotReadWhereNothingPlainStands) {
    files.remove(path(100));
    files.remove(path(101));
    files.createFolders(path(101));
    begin();
    for (const std::size_t i : {100U, 101U}) {
        const FilesAhead::Found found = take(i);
        EXPECT_FALSE(found.status);
        EXPECT_FALSE(found.bytes);
    }
    EXPECT_TRUE(take(102).bytes);
}

TEST_F(FilesAheadTest, AreNotReadWhenTheyAreKnownOrLong) {
    writeFile(path(100), std::string(FilesAhead::longestReading + 1, 'l'));
    writeFile(path(101), std::string(FilesAhead::longestReading, 's'));
    writeFile(path(102), "");
    payloads.knownSize = contents(103).size();
    begin();
    EXPECT_FALSE(take(100).bytes);
    EXPECT_EQ(take(101).bytes.value().bytes.size(), FilesAhead::longestReading);
    EXPECT_EQ(take(102).bytes.value().bytes, "");
    EXPECT_FALSE(take(103).bytes);
    EXPECT_TRUE(take(103).status);
}

TEST_F(FilesAheadTest, AreNotToBeRememberedWhenTheyWereYoungBefore) {
    payloads.remembers = false;
    begin();
    EXPECT_FALSE(take(0).bytes.value().identity);
}

TEST_F(FilesAheadTest, AreNotReadWhenTheyAreFew) {
    begin(10);
    EXPECT_TRUE(take(5).status);
    EXPECT_FALSE(take(5).bytes);
}

TEST_F(FilesAheadTest, MayBeGivenUpAtAnyMoment) {
    begin();
    (void)take(0);  // the next files are being read
}

/// A first import of 300 things with old files, of which every so manyth is longer than others.
class FilesOfAFirstImport : public testing::TestWithParam<std::size_t> {
protected:
    static std::string contents(unsigned number) {
        if (number % 50 != 0) return "contents of " + std::to_string(number);
        return std::string(GetParam(), static_cast<char>('a' + number / 50));
    }

    FilesOfAFirstImport() {
        library.platform().clock->current = Date{4'100'000'000.0};
        for (unsigned i = 1; i <= 300; ++i) {
            bytes += contents(i).size();
            request.record(RecordBuilder::thing(identifier(i))
                               .with("updatedAt", 1000)
                               .with("data", library.putFile(std::to_string(i), contents(i))));
        }
    }

    TestLibrary library;
    RequestBuilder request;
    std::size_t bytes = 0;
};

TEST_P(FilesOfAFirstImport, ComeInEachWithItsOwnBytes) {
    (void)library.exchange(request);
    for (unsigned i = 1; i <= 300; ++i) {
        ASSERT_EQ(library.received(identifier(i), "data"), contents(i)) << i;
    }
    EXPECT_EQ(library.externalFiles().size(), GetParam() > 65'536 ? 6U : 0U);
}

TEST_P(FilesOfAFirstImport, AreReadOnceAndThenKnown) {
    const auto read = [&] {
        const WorkCounters before = workSoFar();
        (void)library.exchange(request);
        // What lies in files is read once more for the host.
        const std::size_t givenOut = GetParam() > 65'536 ? 6 * GetParam() : 0;
        return (workSoFar() - before)[Work::payloadBytesRead] - givenOut;
    };
    EXPECT_EQ(read(), bytes);
    library.restart();
    EXPECT_EQ(read(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Bytes,
                         FilesOfAFirstImport,
                         testing::Values(60'000, 65'536, 65'537, 3'000'000));

}  // namespace
}  // namespace kelto
