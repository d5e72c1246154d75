#include <gtest/gtest.h>

#include "kelto/platform/Platform.hpp"

namespace kelto {
namespace {

TEST(CurrentPlatform, IsTheSameOneEveryTime) {
    EXPECT_EQ(&Platform::current(), &Platform::current());
}

TEST(CurrentPlatform, HasEveryPiece) {
    const Platform& platform = Platform::current();
    EXPECT_NE(platform.clock, nullptr);
    EXPECT_NE(platform.random, nullptr);
    EXPECT_NE(platform.files, nullptr);
    EXPECT_NE(platform.environment, nullptr);
    EXPECT_NE(platform.entitlements, nullptr);
    EXPECT_NE(platform.groupContainer, nullptr);
    EXPECT_NE(platform.account, nullptr);
    EXPECT_NE(platform.remoteNotifications, nullptr);
    EXPECT_NE(platform.mirroringEvents, nullptr);
    EXPECT_NE(platform.mainExecutor, nullptr);
    EXPECT_NE(platform.diagnostics, nullptr);
}

TEST(CurrentPlatform, BearsTheIdentityOfTheBuild) {
    EXPECT_EQ(Platform::current().identity.appGroup, KELTO_TEST_APP_GROUP);
    EXPECT_EQ(Platform::current().identity.iCloudContainer, KELTO_TEST_ICLOUD_CONTAINER);
}

TEST(CurrentPlatform, ObservesMirroringWithoutEverHearingOfIt) {
    bool heard = false;
    const auto observation = Platform::current().mirroringEvents->observe(
        [&](const MirroringNotification&) { heard = true; });
    EXPECT_NE(observation, nullptr);
    Platform::current().remoteNotifications->registerApplication();
    EXPECT_FALSE(heard);
}

}  // namespace
}  // namespace kelto
