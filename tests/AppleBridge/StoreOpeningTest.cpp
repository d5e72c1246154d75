#include <filesystem>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

namespace fs = std::filesystem;

constexpr const char* notProvisioned = "This build is not provisioned for iCloud.";
constexpr const char* notInGroup = "The iCloud store must be in Kelto’s App Group.";
constexpr const char* notSignedIn = "Sign in to iCloud in System Settings to sync.";
constexpr const char* openElsewhere = "The native store is already open at a different location.";

PlatformError serviceError() {
    return PlatformError::described(errorDomain::cloudKit, 9, "Nobody is there");
}

// --- Refusals that come before anything is written
// ------------------------------------------------

struct Refusal {
    const char* name;
    void (*arrange)(FakePlatform& platform);
    const char* sentence;
};

class EarlyRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(EarlyRefusal, SaysWhyAndWritesNothing) {
    TestLibrary library;
    GetParam().arrange(library.platform());
    EXPECT_EQ(library.exchange().error(), GetParam().sentence);
    EXPECT_FALSE(exists(library.groupFolder()));
    EXPECT_FALSE(exists(library.receivedFolder()));
    EXPECT_EQ(library.platform().remoteNotifications->registrations, 0);
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 0);
}

TEST_P(EarlyRefusal, IsOverOnceItsReasonIs) {
    TestLibrary library;
    GetParam().arrange(library.platform());
    (void)library.exchange();
    FakePlatform& platform = library.platform();
    platform.environment->values.clear();
    platform.entitlements->grantAll(platform.identity);
    platform.groupContainer->folders[platform.identity.appGroup] = platform.groupFolder();
    platform.account->status = AccountStatus::available;
    platform.account->statusFailure.reset();
    platform.account->recordFailure.reset();
    EXPECT_FALSE(library.exchange().isError());
}

constexpr const char* appGroups = FakeEntitlements::applicationGroups;
constexpr const char* containers = FakeEntitlements::iCloudContainers;
constexpr const char* services = FakeEntitlements::iCloudServices;

const Refusal refusals[] = {
    {"SwitchedOff",
     [](FakePlatform& p) { p.environment->values["KELTO_DISABLE_CLOUDKIT"] = ""; },
     notProvisioned},
    {"NotEnabled",
     [](FakePlatform& p) { p.environment->values["KELTO_CLOUDKIT_ENABLED"] = "No"; },
     notProvisioned},
    {"WithoutAppGroup",
     [](FakePlatform& p) { p.entitlements->values.erase(appGroups); },
     notProvisioned},
    {"WithoutContainer",
     [](FakePlatform& p) { p.entitlements->values.erase(containers); },
     notProvisioned},
    {"WithoutServices",
     [](FakePlatform& p) { p.entitlements->values.erase(services); },
     notProvisioned},
    {"WithoutGroupFolder", [](FakePlatform& p) { p.groupContainer->folders.clear(); }, notInGroup},
    {"StatusUnknown",
     [](FakePlatform& p) { p.account->status = AccountStatus::couldNotDetermine; },
     notSignedIn},
    {"Restricted",
     [](FakePlatform& p) { p.account->status = AccountStatus::restricted; },
     notSignedIn},
    {"NoAccount",
     [](FakePlatform& p) { p.account->status = AccountStatus::noAccount; },
     notSignedIn},
    {"TemporarilyUnavailable",
     [](FakePlatform& p) { p.account->status = AccountStatus::temporarilyUnavailable; },
     notSignedIn},
    {"StatusFailed",
     [](FakePlatform& p) { p.account->statusFailure = serviceError(); },
     "Nobody is there (CloudKit 9)"},
    {"RecordFailed",
     [](FakePlatform& p) { p.account->recordFailure = serviceError(); },
     "Nobody is there (CloudKit 9)"},
};
INSTANTIATE_TEST_SUITE_P(StoreOpening,
                         EarlyRefusal,
                         testing::ValuesIn(refusals),
                         caseName<Refusal>);

TEST(StoreOpening, RefusesARequestThatIsNoneBeforeItAsksAnybody) {
    TestLibrary library;
    EXPECT_EQ(library.exchange(RequestBuilder().with("version", 2)).error(),
              "Invalid bridge request.");
    EXPECT_THAT(Response(library.exchangeText("{")).error(),
                testing::StartsWith("The JSON text is not valid"));
    EXPECT_EQ(library.platform().account->statusRequests, 0);
    EXPECT_FALSE(exists(library.groupFolder()));
}

TEST(StoreOpening, ChecksOneThingAfterTheOther) {
    TestLibrary library;
    FakePlatform& platform = library.platform();
    (void)library.exchange();
    RequestBuilder request;
    request.with("version", 2).with("storePath", platform.folder.path("elsewhere"));
    platform.environment->values["KELTO_DISABLE_CLOUDKIT"] = "1";
    platform.account->status = AccountStatus::noAccount;
    platform.account->recordFailure = serviceError();
    platform.account->recordName = "_bob";

    EXPECT_EQ(library.exchange(request).error(), "Invalid bridge request.");
    request.with("version", 1);
    EXPECT_EQ(library.exchange(request).error(), notProvisioned);
    platform.environment->values.clear();
    EXPECT_EQ(library.exchange(request).error(), notInGroup);
    request.with("storePath", library.libraryFolder() + "/./Kelto.store");
    EXPECT_EQ(library.exchange(request).error(), notSignedIn);
    platform.account->status = AccountStatus::available;
    EXPECT_EQ(library.exchange(request).error(), "Nobody is there (CloudKit 9)");
    platform.account->recordFailure.reset();
    EXPECT_THAT(library.exchange(request).error(),
                testing::StartsWith("This library belongs to another iCloud account."));
    platform.account->recordName = "_alice";
    EXPECT_EQ(library.exchange(request).error(), openElsewhere);
}

TEST(StoreOpening, AsksForTheRecordOnlyWhenTheAccountIsAvailable) {
    TestLibrary library;
    library.platform().account->status = AccountStatus::noAccount;
    (void)library.exchange();
    EXPECT_EQ(library.platform().account->recordRequests, 0);
}

TEST(StoreOpening, AsksForTheAccountAtEveryExchange) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().account->status = AccountStatus::noAccount;
    EXPECT_EQ(library.exchange().error(), notSignedIn);
    EXPECT_EQ(library.platform().account->statusRequests, 2);
}

// --- The location
// ---------------------------------------------------------------------------------

/// A pattern of a path: G stands for the group folder.
std::string located(const TestLibrary& library, std::string pattern) {
    if (const auto at = pattern.find('G'); at != pattern.npos) {
        pattern.replace(at, 1, library.groupFolder());
    }
    return pattern;
}

class OtherLocation : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(OtherLocation, IsRefused) {
    TestLibrary library;
    EXPECT_EQ(
        library.exchange(RequestBuilder().with("storePath", located(library, GetParam().second)))
            .error(),
        notInGroup);
    EXPECT_FALSE(exists(library.groupFolder()));
}
INSTANTIATE_TEST_SUITE_P(StoreOpening,
                         OtherLocation,
                         testing::Values(std::pair("Empty", ""),
                                         std::pair("Relative", "Library/Kelto.store"),
                                         std::pair("OtherName", "G/Library/Other.store"),
                                         std::pair("OtherLetterCase", "G/Library/kelto.store"),
                                         std::pair("FolderItself", "G/Library"),
                                         std::pair("BesideTheFolder", "G/Kelto.store"),
                                         std::pair("FurtherDown", "G/Library/Kelto.store/x"),
                                         std::pair("BlankBehind", "G/Library/Kelto.store "),
                                         std::pair("OutOfTheGroup", "G/../Library/Kelto.store"),
                                         std::pair("Url", "file://G/Library/Kelto.store")),
                         [](const auto& path) { return std::string(path.param.first); });

class SameLocation : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(SameLocation, IsOpenedInWhateverWayItIsWritten) {
    TestLibrary library;
    const std::string path = located(library, GetParam().second);
    EXPECT_FALSE(library.exchange(RequestBuilder().with("storePath", path)).isError());
    EXPECT_TRUE(exists(library.storePath()));
}

TEST_P(SameLocation, IsRefusedOnceTheStoreIsOpenUnderThePlainText) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(firstId)));
    const std::string path = located(library, GetParam().second);
    EXPECT_EQ(
        library
            .exchange(
                RequestBuilder().with("storePath", path).record(RecordBuilder::tag(identifier(2))))
            .error(),
        openElsewhere);
    EXPECT_THAT(library.exchange().identifiers("Tag"), testing::ElementsAre(firstId));
}

TEST_P(SameLocation, MakesThePlainTextAnotherOneForThisProcess) {
    TestLibrary library;
    const std::string path = located(library, GetParam().second);
    (void)library.exchange(RequestBuilder().with("storePath", path));
    EXPECT_EQ(library.exchange().error(), openElsewhere);
    library.restart();
    EXPECT_FALSE(library.exchange().isError());
}
INSTANTIATE_TEST_SUITE_P(StoreOpening,
                         SameLocation,
                         testing::Values(std::pair("Dot", "G/./Library/Kelto.store"),
                                         std::pair("DotBeforeTheName", "G/Library/./Kelto.store"),
                                         std::pair("DotDot", "G/Other/../Library/Kelto.store")),
                         [](const auto& path) { return std::string(path.param.first); });

TEST(StoreOpening, NeedsNoCurrentFolderForAbsolutePaths) {
    TestLibrary library;
    library.platform().files->fail({.operation = FileOperation::currentFolder});
    EXPECT_EQ(library.exchange().error(), "");
}

TEST(StoreOpening, MayReachTheGroupFolderThroughALink) {
    TestLibrary library;
    FakePlatform& platform = library.platform();
    const std::string link = platform.folder.path("link");
    fs::create_directories(library.groupFolder());
    fs::create_directory_symlink(library.groupFolder(), link);
    platform.groupContainer->folders[platform.identity.appGroup] = link;
    library.restart();
    const RequestBuilder request =
        RequestBuilder().with("storePath", link + "/Library/Kelto.store");
    EXPECT_EQ(library.exchange(request).error(), "");
    EXPECT_TRUE(exists(library.storePath()));
}

// --- The container
// --------------------------------------------------------------------------------

TEST(StoreOpening, MakesTheStoreOnceAndKeepsIt) {
    TestLibrary library;
    (void)library.exchange();
    (void)library.exchange();
    EXPECT_EQ(library.platform().remoteNotifications->registrations, 1);
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 1);
}

TEST(StoreOpening, MakesFilesThatOnlyTheUserMayRead) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId).with(
        "data", library.putFile("in", std::string(100'000, 'x')))));
    const auto forOthers = fs::perms::group_all | fs::perms::others_all;
    for (const auto& entry : fs::recursive_directory_iterator(library.platform().folder.path())) {
        if (entry.path().string().starts_with(library.exchangeFolder() + "/in")) continue;
        if (entry.path().string() == library.exchangeFolder()) continue;
        EXPECT_EQ(entry.status().permissions() & forOthers, fs::perms::none) << entry.path();
    }
}

struct BrokenStore {
    const char* name;
    void (*breakIt)(TestLibrary& library);
    const char* sentence;
};

class UnusableStore : public testing::TestWithParam<BrokenStore> {};

TEST_P(UnusableStore, IsRefusedWithASentenceAndLeftUntouched) {
    TestLibrary library;
    GetParam().breakIt(library);
    const auto before = filesBelow(library.groupFolder());
    EXPECT_EQ(library.exchange(RequestBuilder().record(RecordBuilder::tag(firstId))).error(),
              GetParam().sentence);
    auto after = filesBelow(library.groupFolder());
    if (!before.contains("Library/AvaloniaCloudAccount"))
        after.erase("Library/AvaloniaCloudAccount");
    EXPECT_EQ(after, before);
}

TEST_P(UnusableStore, IsTriedAgainWithNewRegistrationsAtTheNextExchange) {
    TestLibrary library;
    GetParam().breakIt(library);
    const std::size_t registrations = library.platform().remoteNotifications->registrations;
    EXPECT_TRUE(library.exchange().isError());
    EXPECT_EQ(library.platform().remoteNotifications->registrations, registrations + 1);
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 1);
    fs::remove_all(library.storePath());
    // Another way of writing the path: nothing was opened under the first one.
    const RequestBuilder request =
        RequestBuilder().with("storePath", library.libraryFolder() + "/./Kelto.store");
    EXPECT_FALSE(library.exchange(request).isError());
    EXPECT_EQ(library.platform().remoteNotifications->registrations, registrations + 2);
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 1);
}

void makeStoreOfANewerFormat(TestLibrary& library) {
    (void)library.exchange(RequestBuilder().record(RecordBuilder::tag(identifier(9))));
    library.restart();
    library.changeStore("PRAGMA user_version = 1000");
}

constexpr const char* notAStore =
    "The library’s store “Kelto.store” couldn’t be opened because the file there isn’t a library "
    "store. Move it away to start an empty library.";

const BrokenStore brokenStores[] = {
    {"NewerFormat",
     makeStoreOfANewerFormat,
     "The library’s store “Kelto.store” was written by a newer version of Kelto. Update this "
     "application to open it."},
    {"Text",
     [](TestLibrary& library) { writeFile(library.storePath(), std::string(5000, 'x')); },
     notAStore},
    {"ShortText",
     [](TestLibrary& library) { writeFile(library.storePath(), "not a database"); },
     notAStore},
    {"DatabaseOfSomebodyElse",
     [](TestLibrary& library) {
         writeFile(library.storePath(), "");
         library.changeStore("PRAGMA application_id = 7; CREATE TABLE \"T\" (\"c\")");
     },
     notAStore},
};
INSTANTIATE_TEST_SUITE_P(StoreOpening,
                         UnusableStore,
                         testing::ValuesIn(brokenStores),
                         caseName<BrokenStore>);

TEST(StoreOpening, FailsWhereAFolderStandsInTheStoresPlace) {
    TestLibrary library;
    fs::create_directories(library.storePath());
    EXPECT_TRUE(library.exchange().isError());
    fs::remove(library.storePath());
    EXPECT_FALSE(library.exchange().isError());
}

}  // namespace
}  // namespace kelto
