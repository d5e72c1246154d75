#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

RequestBuilder tagRequest(unsigned number) {
    return RequestBuilder().record(RecordBuilder::tag(identifier(number)));
}

TEST(InterleavedExchanges, WaitAtTheAccountWithoutHavingWrittenAnything) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto exchange = library.begin(tagRequest(1));
    library.run();
    EXPECT_EQ(account.heldBack(), 1);
    account.release();
    library.run();
    EXPECT_EQ(account.heldBack(), 1) << "now for the record name";
    EXPECT_EQ(account.recordRequests, 1);
    EXPECT_FALSE(exchange->isDone());
    EXPECT_FALSE(exists(library.groupFolder()));
    account.release();
    EXPECT_FALSE(exchange->isDone()) << "it goes on out of the main loop only";
    library.run();
    EXPECT_FALSE(exchange->response().isError());
}

TEST(InterleavedExchanges, OpenOneStoreBetweenThem) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto first = library.begin(tagRequest(1));
    const auto second = library.begin(tagRequest(2));
    account.release();  // both statuses
    account.release();
    library.run();
    account.release();  // both records
    account.release();
    library.run();
    EXPECT_THAT(first->response().identifiers("Tag"), testing::ElementsAre(identifier(1)));
    EXPECT_THAT(second->response().identifiers("Tag"),
                testing::ElementsAre(identifier(1), identifier(2)));
    EXPECT_EQ(library.platform().remoteNotifications->registrations, 1);
    EXPECT_EQ(library.platform().mirroringEvents->observerCount(), 1);
}

TEST(InterleavedExchanges, EndInTheOrderInWhichTheirAnswersCome) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto first = library.begin(tagRequest(1));
    const auto second = library.begin(tagRequest(2));
    account.release(1);  // the second's status
    library.run();
    account.release(1);  // the second's record
    library.run();
    EXPECT_TRUE(second->isDone());
    EXPECT_FALSE(first->isDone());
    account.holdsAnswersBack = false;
    account.release();
    library.run();
    EXPECT_THAT(first->response().identifiers("Tag"),
                testing::ElementsAre(identifier(2), identifier(1)));
}

TEST(InterleavedExchanges, LookAtTheOpenStoreAfterTheirLastWait) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto waiting =
        library.begin(tagRequest(1).with("storePath", library.libraryFolder() + "/./Kelto.store"));
    account.holdsAnswersBack = false;
    EXPECT_FALSE(library.exchange().isError());
    account.release();
    library.run();
    EXPECT_EQ(waiting->response().error(),
              "The native store is already open at a different location.");
}

/// The request that waits is the last one once more, but no longer the one that was answered last.
TEST(InterleavedExchanges, WriteTheFilesThatTheirOwnHostDoesNotHold) {
    TestLibrary library;
    library.platform().clock->current = Date{4'100'000'000.0};  // all files are old
    const RequestBuilder lost = RequestBuilder().record(
        RecordBuilder::thing(firstId).with("data", library.putFile("file", "bytes")));
    RequestBuilder holding = lost;
    holding.knownFingerprint(firstId, library.exchange(lost).string(firstId, "fingerprint"));
    (void)library.exchange(lost);
    library.platform().account->holdsAnswersBack = true;
    const auto waiting = library.begin(lost);
    library.platform().account->holdsAnswersBack = false;
    (void)library.exchange(holding);
    library.clearReceived();
    library.platform().account->release();
    library.run();
    EXPECT_FALSE(waiting->response().isError());
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
    library.clearReceived();
    (void)library.exchange(lost);
    EXPECT_EQ(library.received(firstId, "data"), "bytes");
}

TEST(InterleavedExchanges, MayBeAnsweredOnAnotherThread) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto exchange = library.begin(tagRequest(1));
    while (!exchange->isDone()) {
        ASSERT_EQ(account.heldBack(), 1);
        std::thread([&] { account.release(); }).join();
        library.run();
    }
    EXPECT_FALSE(exchange->response().isError());
}

TEST(InterleavedExchanges, FailOneByOne) {
    TestLibrary library;
    FakeCloudAccount& account = *library.platform().account;
    account.holdsAnswersBack = true;
    const auto first = library.begin(tagRequest(1));
    const auto second = library.begin(tagRequest(2));
    account.status = AccountStatus::noAccount;
    account.release();
    library.run();
    EXPECT_EQ(first->response().error(), "Sign in to iCloud in System Settings to sync.");
    account.status = AccountStatus::available;
    account.holdsAnswersBack = false;
    account.release();
    library.run();
    EXPECT_THAT(second->response().identifiers("Tag"), testing::ElementsAre(identifier(2)));
}

}  // namespace
}  // namespace kelto
