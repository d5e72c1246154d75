#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "kelto/foundation/WorkCounters.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

const std::string film = identifier(1);

/// A host that uses the files in "received" as its own: it names them as its payload files.
class FilesInPlace : public testing::Test {
protected:
    FilesInPlace() {
        // All files are old: nothing in this test happens within one step of a clock.
        library_.platform().clock->current = Date{4'100'000'000.0};
        record_.with("title", "a film").with("updatedAt", 1000);
        record_.with("data", library_.putFile("incoming", "bytes of a film"));
        exchange();
        record_.with("data", fileInPlace());
        exchange();
    }

    [[nodiscard]] std::string fileInPlace() const {
        return library_.receivedFolder() + "/" + film + ".data";
    }

    void exchange() {
        RequestBuilder request;
        request.record(record_);
        if (!fingerprint_.empty()) request.knownFingerprint(film, fingerprint_);
        const WorkCounters before = workSoFar();
        const Response response = library_.exchange(request);
        work_ = workSoFar() - before;
        EXPECT_EQ(response.string(film, "data"), fileInPlace());
        fingerprint_ = response.string(film, "fingerprint");
    }

    void exchangeAfterAnEdit() {
        record_.with("title", "another title").with("updatedAt", 2000);
        const std::string before = fingerprint_;
        exchange();
        EXPECT_NE(fingerprint_, before);
    }

    [[nodiscard]] std::uint64_t filesWritten() const { return work_[Work::filesWritten]; }

    TestLibrary library_;
    RecordBuilder record_ = RecordBuilder::thing(film);
    std::string fingerprint_;
    WorkCounters work_;
};

TEST_F(FilesInPlace, AreNotWrittenAgainWhenATitleIsEdited) {
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 0);
    EXPECT_EQ(work_[Work::payloadBytesRead], 0);
    EXPECT_EQ(work_[Work::payloadBytesWritten], 0);
    EXPECT_EQ(library_.received(film, "data"), "bytes of a film");
}

TEST_F(FilesInPlace, AreNotWrittenAgainAfterARestart) {
    library_.restart();
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 0);
}

TEST_F(FilesInPlace, AreWrittenForAHostThatNamesNoVersionSinceItMayHaveLostThem) {
    fingerprint_.clear();
    exchange();
    EXPECT_EQ(filesWritten(), 1);
}

TEST_F(FilesInPlace, AreWrittenWhenTheyAreGone) {
    record_.with("data", library_.putFile("elsewhere", "bytes of a film"));
    std::filesystem::remove(fileInPlace());
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 1);
    EXPECT_EQ(library_.received(film, "data"), "bytes of a film");
}

TEST_F(FilesInPlace, AreWrittenWhenTheyHoldOtherBytesOfTheSameLength) {
    record_.with("data", library_.putFile("elsewhere", "bytes of a film"));
    std::ofstream(fileInPlace(), std::ios::trunc) << "BYTES OF A FILM";
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 1);
    EXPECT_EQ(library_.received(film, "data"), "bytes of a film");
}

TEST_F(FilesInPlace, AreWrittenWhenThePayloadIsAnother) {
    record_.with("data", library_.putFile("elsewhere", "bytes of a song"));
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 1);
    EXPECT_EQ(library_.received(film, "data"), "bytes of a song");
}

TEST_F(FilesInPlace, AreWrittenWhenOthersMayReadThem) {
    ASSERT_EQ(::chmod(fileInPlace().c_str(), 0644), 0);
    exchange();  // its times have changed with its permissions: it is read, and known again
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 1);
    struct stat status {};
    ASSERT_EQ(::stat(fileInPlace().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(FilesInPlace, AreWrittenInThePlaceOfALinkToThem) {
    const std::string aside = library_.exchangeFolder() + "/aside";
    std::filesystem::rename(fileInPlace(), aside);
    std::filesystem::create_symlink(aside, fileInPlace());
    exchangeAfterAnEdit();
    EXPECT_EQ(filesWritten(), 1);
    EXPECT_FALSE(std::filesystem::is_symlink(fileInPlace()));
    EXPECT_EQ(library_.received(film, "data"), "bytes of a film");
}

}  // namespace
}  // namespace kelto
