#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using Type = MirroringEvent::Type;

constexpr const char* waiting = "iCloud enabled — waiting for sync";
constexpr const char* enabled = "iCloud enabled";
constexpr const char* syncing = "Syncing with iCloud…";

MirroringEvent started(Type type) {
    return {type, false, std::nullopt, std::nullopt};
}
MirroringEvent ended(Type type, double seconds, bool succeeded = true) {
    return {type, succeeded, Date{seconds}, std::nullopt};
}

TEST(SyncStatus, WaitsForTheFirstEvent) {
    TestLibrary library;
    const Response response = library.exchange();
    EXPECT_EQ(response.status(), waiting);
    EXPECT_EQ(response.lastSync(), std::nullopt);
}

struct EventCase {
    const char* name;
    MirroringEvent event;
    const char* status;
    std::optional<std::int64_t> lastSync;
};

class FirstEvent : public testing::TestWithParam<EventCase> {};

TEST_P(FirstEvent, MovesTheStatusThatTheNextResponseCarries) {
    TestLibrary library;
    (void)library.exchange();
    library.post(GetParam().event);
    const Response response = library.exchange();
    EXPECT_EQ(response.status(), GetParam().status);
    EXPECT_EQ(response.lastSync(), GetParam().lastSync);
}

const PlatformError conflict = PlatformError::described(errorDomain::cloudKit, 14, "Changed");

const EventCase events[] = {
    {"ImportStarts", started(Type::import), syncing, std::nullopt},
    {"ExportStarts", started(Type::exportToCloud), syncing, std::nullopt},
    {"SetupStarts", started(Type::setup), syncing, std::nullopt},
    {"ImportSucceeds", ended(Type::import, 1.5), enabled, 1500},
    {"ExportSucceeds", ended(Type::exportToCloud, 1.5), enabled, 1500},
    {"SetupSucceeds", ended(Type::setup, 1.5), waiting, std::nullopt},
    {"UnknownTypeSucceeds", ended(static_cast<Type>(7), 1.5), waiting, std::nullopt},
    {"ImportFailsWithoutAnError", ended(Type::import, 1.5, false), waiting, std::nullopt},
    {"SetupFailsWithoutAnError", ended(Type::setup, 1.5, false), waiting, std::nullopt},
    {"ExportFails",
     {Type::exportToCloud, false, Date{1.5}, conflict},
     "iCloud: Changed (CloudKit 14)",
     std::nullopt},
    {"ExportSucceedsWithAnError",
     {Type::exportToCloud, true, Date{1.5}, conflict},
     "iCloud: Changed (CloudKit 14)",
     std::nullopt},
    {"ImportStartsWithAnError",
     {Type::import, false, std::nullopt, conflict},
     "iCloud: Changed (CloudKit 14)",
     std::nullopt},
    {"SetupFailsWithAPlainError",
     {Type::setup, false, Date{1.5}, PlatformError::described("Any", 1, "No network")},
     "iCloud: No network",
     std::nullopt},
    {"SetupFailsWithAnErrorThatIsNotUtf8",
     {Type::setup, false, Date{1.5}, PlatformError::described("Any", 1, "No \xFF network")},
     "iCloud: No \uFFFD network",
     std::nullopt},
    {"EndsAtHalfAMillisecond", ended(Type::import, 0.0625), enabled, 63},
    {"EndsBefore1970", ended(Type::import, -0.0625), enabled, -63},
};
INSTANTIATE_TEST_SUITE_P(SyncStatus, FirstEvent, testing::ValuesIn(events), caseName<EventCase>);

TEST(SyncStatus, KeepsTheLastSyncWhileOtherEventsComeAndGo) {
    TestLibrary library;
    (void)library.exchange();
    library.post(ended(Type::import, 5));
    library.post(started(Type::exportToCloud));
    EXPECT_EQ(library.exchange().lastSync(), 5000);
    library.post({Type::exportToCloud, false, Date{6}, conflict});
    EXPECT_EQ(library.exchange().lastSync(), 5000);
    EXPECT_EQ(library.exchange().status(), "iCloud: Changed (CloudKit 14)");
    library.post(ended(Type::setup, 7));
    EXPECT_EQ(library.exchange().status(), "iCloud: Changed (CloudKit 14)");
    library.post(ended(Type::exportToCloud, 8));
    EXPECT_EQ(library.exchange().status(), enabled);
    EXPECT_EQ(library.exchange().lastSync(), 8000);
}

TEST(SyncStatus, TakesTheEndOfTheEventThatCameLastEvenWhenItIsEarlier) {
    TestLibrary library;
    (void)library.exchange();
    library.post(ended(Type::import, 8));
    library.post(ended(Type::exportToCloud, 7));
    EXPECT_EQ(library.exchange().lastSync(), 7000);
}

TEST(SyncStatus, IsNotMovedByANotificationWithoutAnEvent) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().mirroringEvents->post({});
    library.run();
    EXPECT_EQ(library.exchange().status(), waiting);
}

TEST(SyncStatus, IsNotMovedBeforeTheFirstExchangeHasOpenedTheStore) {
    TestLibrary library;
    library.post(ended(Type::import, 5));
    EXPECT_EQ(library.exchange().status(), waiting);
}

TEST(SyncStatus, MovesInATaskOfItsOwn) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().mirroringEvents->post({ended(Type::import, 5)});
    EXPECT_EQ(library.store().status(), waiting);
    library.run();
    EXPECT_EQ(library.store().status(), enabled);
    EXPECT_EQ(library.store().lastSync(), Date{5});
}

TEST(SyncStatus, MovesWhileAnExchangeWaitsForTheAccount) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().account->holdsAnswersBack = true;
    const auto exchange = library.begin();
    library.post(ended(Type::import, 5));
    library.platform().account->holdsAnswersBack = false;
    library.platform().account->release();
    library.run();
    EXPECT_EQ(exchange->response().status(), enabled);
}

TEST(SyncStatus, MovesOnlyOnceAfterAnOpeningThatHadToBeRepeated) {
    TestLibrary library;
    library.platform().files->fail(
        {.operation = FileOperation::create, .pathPattern = "*/Kelto.store", .onlyOnce = true});
    EXPECT_TRUE(library.exchange().isError());
    library.post(started(Type::import));
    const Response response = library.exchange();
    EXPECT_EQ(response.status(), syncing) << "the observer of the failed opening counts";
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 1);
}

TEST(SyncStatus, OfAStoreThatIsGoneIsNotMissed) {
    TestLibrary library;
    (void)library.exchange();
    library.platform().mirroringEvents->post({ended(Type::import, 5)});
    library.restart();
    library.run();
    EXPECT_EQ(library.exchange().status(), waiting);
}

}  // namespace
}  // namespace kelto
