#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Sha256.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::HasSubstr;

// Two items with large files, and another program that writes while the first file is copied out.

class ExportBesideOthers : public testing::Test {
protected:
    ExportBesideOthers() {
        (void)library.exchange(RequestBuilder()
                                   .record(RecordBuilder::thing(first).with(
                                       "data", library.putFile("1", bytesOfFirst)))
                                   .record(RecordBuilder::thing(second).with(
                                       "data", library.putFile("2", bytesOfSecond))));
        library.clearReceived();
    }

    /// Runs once, while an exchange copies files out for the host.
    void whileFilesAreCopied(const std::function<void()>& action) {
        library.platform().files->beforeNext(FileOperation::create, action);
    }

    /// What another program does that deletes the second item.
    void deleteSecond() {
        library.changeStore("DELETE FROM Thing WHERE uuid = x'" + hexOf(second) +
                            "'; DELETE FROM Payload WHERE digest NOT IN (SELECT data FROM Thing)");
        removeFileOf(bytesOfSecond);
    }

    void removeFileOf(const std::string& bytes) {
        library.platform().files->remove(library.externalFolder() + "/" + sha256(bytes).hex());
    }

    static std::string hexOf(std::string uuid) {
        std::erase(uuid, '-');
        return uuid;
    }

    const std::string first = identifier(1);
    const std::string second = identifier(2);
    const std::string bytesOfFirst = std::string(100'000, '1');
    const std::string bytesOfSecond = std::string(100'000, '2');
    TestLibrary library;
};

TEST_F(ExportBesideOthers, LetsThemWriteMeanwhileAndShowsThatNextTime) {
    bool hasWritten = false;
    whileFilesAreCopied([&] {
        // Without patience: it fails at once when anybody holds the lock.
        library.changeStore("UPDATE Thing SET title = 'new'");
        hasWritten = true;
    });
    EXPECT_EQ(library.exchange().string(first, "title"), "");
    EXPECT_TRUE(hasWritten);
    EXPECT_EQ(library.exchange().string(first, "title"), "new");
}

TEST_F(ExportBesideOthers, BeginsAgainWhenTheyDeleteAFileThatWasNotCopiedYet) {
    whileFilesAreCopied([&] { deleteSecond(); });
    const Response response = library.exchange();
    EXPECT_EQ(response.error(), "");
    EXPECT_EQ(library.received(first, "data"), bytesOfFirst);
    EXPECT_EQ(response.find(second), nullptr);
}

TEST_F(ExportBesideOthers, StillNamesAFileThatIsReallyGone) {
    removeFileOf(bytesOfSecond);
    EXPECT_THAT(
        library.exchange().error(),
        testing::AllOf(HasSubstr(sha256(bytesOfSecond).hex()), HasSubstr("keltoctl doctor")));
    EXPECT_FALSE(library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", second)))
                     .isError());
}

}  // namespace
}  // namespace kelto
