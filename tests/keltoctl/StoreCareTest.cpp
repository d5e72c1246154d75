#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/keltoctl/KeltoctlTest.hpp"

namespace kelto::ctl {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A library with a note and a file that is large enough to lie beside the database.
class StoreCareTest : public KeltoctlTest {
protected:
    StoreCareTest() {
        done({"add", "note", "bread"});
        done({"add", "file", folder.write("Film.mp4", std::string(100'000, 'f'))});
    }

    [[nodiscard]] std::string libraryFolder() {
        std::string path = run({"group-path"}).output;
        path.pop_back();
        return path + "/Library";
    }

    [[nodiscard]] std::filesystem::path payloadFile() {
        const std::filesystem::directory_iterator files(libraryFolder() +
                                                        "/.Kelto_SUPPORT/_EXTERNAL_DATA");
        return files->path();
    }
};

TEST_F(StoreCareTest, AHealthyLibraryIsSaidToBeSoInOneLine) {
    const Outcome outcome = run({"doctor"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, StartsWith("The library is healthy: "));
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1);
    EXPECT_TRUE(*json({"doctor"}).member("healthy")->boolean());
    EXPECT_EQ(run({"doctor", "--repair", "--yes"}).status, 0);
}

TEST_F(StoreCareTest, ALostFileIsNamedWithItsItemAndLetGoOnlyWhenAsked) {
    std::filesystem::remove(payloadFile());
    const Outcome found = run({"doctor"});
    EXPECT_EQ(found.status, 1);
    EXPECT_THAT(found.output,
                AllOf(HasSubstr("1 finding"), HasSubstr("thing “Film”"), HasSubstr("missing")));
    EXPECT_EQ(run({"doctor", "--repair"}).status, 2) << "nobody to ask";
    const Outcome dry = run({"doctor", "--repair", "--dry-run"});
    EXPECT_EQ(dry.status, 1);
    EXPECT_THAT(dry.output, HasSubstr("What would be done:"));
    EXPECT_EQ(run({"doctor"}).status, 1);
    const Outcome mended = run({"doctor", "--repair", "--yes"});
    EXPECT_EQ(mended.status, 0) << mended.output << mended.complaint;
    EXPECT_THAT(mended.output, HasSubstr("Lost and found/Repair "));
    EXPECT_EQ(run({"doctor"}).status, 0);
    EXPECT_EQ(runAs("there", {"list"}).status, 0);
}

TEST_F(StoreCareTest, ALibraryThatNoProgramOpensIsStillLookedAt) {
    folder.write("data/group.app.kelto/Library/Kelto.store", "Dear diary");
    EXPECT_EQ(run({"list"}).status, 1);
    const Outcome outcome = run({"doctor"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, HasSubstr("isn’t a library store"));
}

TEST_F(StoreCareTest, AnotherStoreIsLookedAtInsteadOfTheLibrarysOwn) {
    std::filesystem::copy(
        libraryFolder(), folder.path("copy"), std::filesystem::copy_options::recursive);
    std::filesystem::remove(payloadFile());
    EXPECT_EQ(run({"doctor"}).status, 1);
    std::filesystem::permissions(folder.path("copy"), std::filesystem::perms(0700));
    const Outcome copy = run({"doctor", "--store", folder.path("copy/Kelto.store")});
    EXPECT_EQ(copy.status, 0) << copy.output;
}

// Anything may lie around a store that somebody names: a folder for everybody's files, for example.
TEST_F(StoreCareTest, TheFolderAroundAnotherStoreIsLeftAsItIs) {
    std::filesystem::copy(
        libraryFolder(), folder.path("copy"), std::filesystem::copy_options::recursive);
    const auto forAll = static_cast<std::filesystem::perms>(0755);
    std::filesystem::permissions(folder.path("copy"), forAll);
    std::filesystem::permissions(folder.path("copy/Kelto.store"), forAll);
    const Outcome found = run({"doctor", "--store", folder.path("copy/Kelto.store")});
    EXPECT_THAT(found.output, AllOf(HasSubstr("“Kelto.store”."), Not(HasSubstr("“copy”"))));
    EXPECT_EQ(
        run({"doctor", "--repair", "--yes", "--store", folder.path("copy/Kelto.store")}).status, 0);
    EXPECT_EQ(std::filesystem::status(folder.path("copy")).permissions(), forAll);
}

TEST_F(StoreCareTest, DoctorRefusesOptionsThatDoNotGoTogether) {
    EXPECT_EQ(run({"doctor", "--dry-run"}).status, 2);
}

TEST_F(StoreCareTest, ABackupComesBackWhole) {
    done({"backup", folder.path("backup.tar")});
    done({"add", "note", "after the backup"});
    EXPECT_EQ(run({"restore-backup", folder.path("backup.tar")}).status, 2) << "nobody to ask";
    done({"restore-backup", folder.path("backup.tar"), "--yes"});
    const JsonValue list = jsonAs("there", {"list"});
    EXPECT_EQ(list.member("things")->array()->size(), 2U);
    EXPECT_EQ(run({"doctor"}).status, 0);
    bool isKept = false;
    for (const auto& entry :
         std::filesystem::directory_iterator(folder.path("data/group.app.kelto"))) {
        isKept |= entry.path().filename().string().starts_with("Library before ");
    }
    EXPECT_TRUE(isKept);
}

TEST_F(StoreCareTest, ABackupMakesALibraryWhereNoneIs) {
    done({"backup", folder.path("backup.tar")});
    std::filesystem::remove_all(libraryFolder());
    done({"restore-backup", folder.path("backup.tar")});
    EXPECT_EQ(things().size(), 2U);
}

TEST_F(StoreCareTest, ABackupReplacesNothingUnasked) {
    folder.write("backup.tar", "mine");
    const Outcome refused = run({"backup", folder.path("backup.tar")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.complaint, HasSubstr("--force"));
    EXPECT_EQ(folder.read("backup.tar"), "mine");
    done({"backup", folder.path("backup.tar"), "--force"});
    done({"restore-backup", "--check", folder.path("backup.tar")});
}

TEST_F(StoreCareTest, ADamagedLibraryIsBackedUpOnlyWhenWanted) {
    std::filesystem::remove(payloadFile());
    const Outcome refused = run({"backup", folder.path("backup.tar")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("thing “Film”"));
    EXPECT_FALSE(std::filesystem::exists(folder.path("backup.tar")));
    EXPECT_EQ(run({"backup", folder.path("backup.tar"), "--damaged"}).status, 1);
    EXPECT_TRUE(std::filesystem::exists(folder.path("backup.tar")));
}

TEST_F(StoreCareTest, WhatIsNoBackupIsNotRestored) {
    folder.write("backup.tar", "Dear diary");
    const Outcome outcome = run({"restore-backup", folder.path("backup.tar"), "--yes"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint, HasSubstr("isn’t a whole backup"));
    EXPECT_EQ(things().size(), 2U);
}

TEST_F(StoreCareTest, ABackupNeverTakesThePlaceOfTheLibrary) {
    for (const char* command : {"backup", "page"}) {
        const Outcome outcome = run({command, "--force", libraryFolder() + "/Kelto.store"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.complaint, HasSubstr("is one of the library's own files"));
    }
    EXPECT_EQ(things().size(), 2U);
}

TEST_F(StoreCareTest, ABackupReplacesOrdinaryFilesOnly) {
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_THAT(run({"backup", "--force", folder.path("pipe")}).complaint,
                HasSubstr("is no ordinary file"));
    EXPECT_TRUE(std::filesystem::is_fifo(folder.path("pipe")));
    std::filesystem::create_symlink(folder.path("nowhere"), folder.path("link"));
    EXPECT_THAT(run({"backup", folder.path("link")}).complaint, HasSubstr("is there already"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_THAT(run({"backup", folder.path("no/where.tar")}).complaint,
                HasSubstr("there is no folder"));
}

TEST_F(StoreCareTest, ABackupThatIsOnlyTriedWritesNothing) {
    const Outcome outcome = run({"backup", "--dry-run", folder.path("backup.tar")});
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output,
                AllOf(StartsWith("The library is healthy: "), HasSubstr("Nothing was written")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("backup.tar")));
    std::filesystem::remove(payloadFile());
    EXPECT_EQ(run({"backup", "--dry-run", folder.path("backup.tar")}).status, 1);
}

TEST_F(StoreCareTest, DocumentsAreWellFormedWhateverTheFilesAreCalled) {
    const std::string name = folder.path("b\xFF");
    for (const char* command : {"backup", "page"}) {
        const Outcome outcome = run({command, "--json", name + command});
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
        EXPECT_THAT(textOf(JsonValue::parse(outcome.output), "file"), HasSubstr("b\uFFFD"));
    }
}

TEST_F(StoreCareTest, WhatIsToBeReadIsNoDeviceWithoutAnEnd) {
    EXPECT_EQ(run({"diff", "/dev/zero", "/dev/zero"}).status, 2);
    EXPECT_THAT(run({"explain", "/dev/zero"}).complaint, HasSubstr("is a device; name a file."));
    EXPECT_THAT(run({"exchange", "/dev/zero"}).complaint, HasSubstr("is a device; name a file."));
}

}  // namespace
}  // namespace kelto::ctl
