#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr const char* otherAccount =
    "This library belongs to another iCloud account. Sign back into that account to resume sync.";

TEST(AccountBinding, MakesTheFolderAndWritesTheAccountsNameAndNothingElse) {
    TestLibrary library;
    EXPECT_FALSE(library.exchange().isError());
    EXPECT_EQ(readFile(library.markerPath()), "_alice");
}

TEST(AccountBinding, LeavesNothingButTheMarkerBesideTheStore) {
    TestLibrary library;
    (void)library.exchange();
    for (const std::string& name : namesIn(library.libraryFolder())) {
        EXPECT_THAT(
            name,
            testing::AnyOf(
                "AvaloniaCloudAccount", ".Kelto_SUPPORT", testing::StartsWith("Kelto.store")));
    }
}

TEST(AccountBinding, RemovesWhatAKilledProcessHasLeftBesideTheMarker) {
    TestLibrary library;
    const std::string left = library.libraryFolder() + "/.kelto-0123456789abcdef.part";
    writeFile(left, "_al");
    EXPECT_FALSE(library.exchange().isError());
    EXPECT_FALSE(exists(left));
}

TEST(AccountBinding, GoesOnWhenAnotherProgramHasBoundTheLibraryMeanwhile) {
    TestLibrary library;
    library.platform().files->beforeNext(FileOperation::rename, [&] {
        for (const std::string& name : namesIn(library.libraryFolder())) {
            fs::remove(library.libraryFolder() + "/" + name);  // it has swept, too
        }
        writeFile(library.markerPath(), "_alice");
    });
    EXPECT_EQ(library.exchange().error(), "");
}

TEST(AccountBinding, RefusesAnotherAccountUntilTheFirstIsBack) {
    TestLibrary library;
    const Response before = library.exchange(
        RequestBuilder().record(RecordBuilder::tag(identifier(1)).with("name", "kept")));
    library.platform().account->recordName = "_bob";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(
            library.exchange(RequestBuilder().record(RecordBuilder::deletion("Tag", identifier(1))))
                .error(),
            otherAccount);
    }
    EXPECT_EQ(readFile(library.markerPath()), "_alice");
    library.platform().account->recordName = "_alice";
    EXPECT_EQ(library.exchange().records(), before.records());
}

TEST(AccountBinding, HoldsAfterARestart) {
    TestLibrary library;
    (void)library.exchange();
    library.restart();
    library.platform().account->recordName = "_bob";
    EXPECT_EQ(library.exchange().error(), otherAccount);
    EXPECT_EQ(library.platform().remoteNotifications->registrations, 1)
        << "the store was not opened for the other account";
}

TEST(AccountBinding, OpensNoStoreForAnotherAccount) {
    TestLibrary library;
    writeFile(library.markerPath(), "_bob");
    EXPECT_EQ(library.exchange().error(), otherAccount);
    EXPECT_FALSE(exists(library.storePath()));
    EXPECT_EQ(readFile(library.markerPath()), "_bob");
}

struct MarkerCase {
    const char* name;
    const char* contents;
};

class OtherMarker : public testing::TestWithParam<MarkerCase> {};

TEST_P(OtherMarker, NeverMatchesAndIsKept) {
    TestLibrary library;
    writeFile(library.markerPath(), GetParam().contents);
    EXPECT_EQ(library.exchange().error(), otherAccount);
    EXPECT_EQ(readFile(library.markerPath()), GetParam().contents);
    EXPECT_FALSE(exists(library.storePath()));
}

constexpr MarkerCase otherMarkers[] = {
    {"TrailingNewline", "_alice\n"},
    {"LeadingBlank", " _alice"},
    {"OtherLetterCase", "_Alice"},
    {"ByteOrderMark", "\xEF\xBB\xBF_alice"},
    {"Empty", ""},
    {"LongerName", "_alice2"},
    {"ShorterName", "_alic"},
};
INSTANTIATE_TEST_SUITE_P(AccountBinding,
                         OtherMarker,
                         testing::ValuesIn(otherMarkers),
                         caseName<MarkerCase>);

TEST(AccountBinding, AcceptsAMarkerThatWasWrittenBefore) {
    TestLibrary library;
    writeFile(library.markerPath(), "_alice");
    EXPECT_FALSE(library.exchange().isError());
}

// --- Failures
// -------------------------------------------------------------------------------------

TEST(AccountBinding, FailsWithTheFileSystemsErrorWhenTheFolderCannotBeMade) {
    TestLibrary library;
    writeFile(library.libraryFolder(), "a file in its place");
    EXPECT_THAT(library.exchange().error(), HasSubstr("“Library”"));
    EXPECT_EQ(readFile(library.libraryFolder()), "a file in its place");
    fs::remove(library.libraryFolder());
    EXPECT_FALSE(library.exchange().isError());
}

struct FaultCase {
    const char* name;
    FileOperation operation;
};

class MarkerFault : public testing::TestWithParam<FaultCase> {};

TEST_P(MarkerFault, WhileItIsWrittenFailsTheExchangeAndBindsNobody) {
    TestLibrary library;
    library.platform().files->fail({.operation = GetParam().operation,
                                    .pathPattern = library.libraryFolder() + "*",
                                    .errorNumber = ENOSPC});
    EXPECT_THAT(library.exchange().error(), HasSubstr("there isn’t enough space"));
    EXPECT_FALSE(exists(library.storePath()));
    library.platform().files->heal();
    if (GetParam().operation != FileOperation::syncFolder) {
        EXPECT_THAT(namesIn(library.libraryFolder()), testing::IsEmpty());
        library.platform().account->recordName = "_bob";
    }
    EXPECT_FALSE(library.exchange().isError());
}

constexpr FaultCase markerFaults[] = {{"Making", FileOperation::create},
                                      {"Writing", FileOperation::fileWrite},
                                      {"Flushing", FileOperation::fileSync},
                                      {"Renaming", FileOperation::rename},
                                      {"FlushingTheFolder", FileOperation::syncFolder}};
INSTANTIATE_TEST_SUITE_P(AccountBinding,
                         MarkerFault,
                         testing::ValuesIn(markerFaults),
                         caseName<FaultCase>);

TEST(AccountBinding, FailsWithTheFileSystemsErrorWhenTheMarkerCannotBeRead) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().files->fail({.operation = FileOperation::openForReading,
                                    .pathPattern = "*/AvaloniaCloudAccount",
                                    .errorNumber = EACCES});
    EXPECT_EQ(library.exchange().error(),
              "The file “AvaloniaCloudAccount” couldn’t be opened because you don’t have "
              "permission to view it.");
    library.platform().files->heal();
    EXPECT_FALSE(library.exchange().isError());
}

TEST(AccountBinding, FailsWhenTheMarkerIsNoText) {
    TestLibrary library;
    writeFile(library.markerPath(), "_alice\xFF");
    EXPECT_THAT(library.exchange().error(), HasSubstr("“AvaloniaCloudAccount”"));
    EXPECT_EQ(readFile(library.markerPath()), "_alice\xFF");
}

TEST(AccountBinding, FailsWhenTheMarkerIsAFolder) {
    TestLibrary library;
    fs::create_directories(library.markerPath());
    EXPECT_THAT(library.exchange().error(), HasSubstr("“AvaloniaCloudAccount”"));
    EXPECT_FALSE(exists(library.storePath()));
}

TEST(AccountBinding, StopsTheProcessWhenTheServiceGivesNeitherRecordNorError) {
    TestLibrary library;
    library.platform().account->recordName.reset();
    EXPECT_DEATH((void)library.exchange(), "Fatal error: ");
}

}  // namespace
}  // namespace kelto
