#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "kelto/platform/linux/LocalAccount.hpp"

namespace kelto {
namespace {

TEST(LocalAccount, IsAlwaysAvailable) {
    std::optional<AccountStatus> answered;
    LocalAccount().accountStatus([&](AccountStatus status, std::optional<PlatformError> error) {
        answered = status;
        EXPECT_FALSE(error.has_value());
    });
    EXPECT_EQ(answered, AccountStatus::available);
}

TEST(LocalAccount, HasTheRecordNameThatMarkerFilesHold) {
    std::optional<std::string> answered;
    LocalAccount().fetchUserRecordName(
        [&](std::optional<std::string> name, std::optional<PlatformError> error) {
            answered = std::move(name);
            EXPECT_FALSE(error.has_value());
        });
    EXPECT_EQ(answered, "_local");
}

}  // namespace
}  // namespace kelto
