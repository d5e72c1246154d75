#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/CloudAvailability.hpp"
#include "tests/support/FakePlatform.hpp"

namespace kelto {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* disableSwitch = "KELTO_DISABLE_CLOUDKIT";
constexpr const char* enableSwitch = "KELTO_CLOUDKIT_ENABLED";

class CloudAvailability : public testing::Test {
protected:
    std::int32_t available() const { return cloudAvailable(fake.platform()); }

    FakePlatform fake;
};

TEST_F(CloudAvailability, IsThereInAFullyEntitledBuild) {
    EXPECT_EQ(available(), 1);
}

TEST_F(CloudAvailability, DoesNotDependOnWhetherSomebodyIsSignedIn) {
    fake.account->status = AccountStatus::noAccount;
    EXPECT_EQ(available(), 1);
    EXPECT_EQ(fake.account->statusRequests, 0U);
}

class DisablingValues : public CloudAvailability,
                        public testing::WithParamInterface<std::string> {};

TEST_P(DisablingValues, SwitchTheCloudOffByBeingThere) {
    fake.environment->values[disableSwitch] = GetParam();
    EXPECT_EQ(available(), 0);
}

INSTANTIATE_TEST_SUITE_P(Values, DisablingValues, testing::Values("", "1", "0", "NO", "false"));

class WordsForNo : public CloudAvailability, public testing::WithParamInterface<std::string> {};

TEST_P(WordsForNo, SwitchTheCloudOff) {
    fake.environment->values[enableSwitch] = GetParam();
    EXPECT_EQ(available(), 0);
}

INSTANTIATE_TEST_SUITE_P(Words, WordsForNo, testing::Values("no", "No", "nO", "NO"));

class OtherWords : public CloudAvailability, public testing::WithParamInterface<std::string> {};

TEST_P(OtherWords, SwitchNothing) {
    fake.environment->values[enableSwitch] = GetParam();
    EXPECT_EQ(available(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Words,
    OtherWords,
    testing::Values("", "0", "false", "off", " no", "no ", "none", "YES", "n\u014D", "\u2116"));

TEST_F(CloudAvailability, KnowsItsSwitchesByTheirExactNames) {
    fake.environment->values["kelto_disable_cloudkit"] = "";
    fake.environment->values["Kelto_CloudKit_Enabled"] = "NO";
    EXPECT_EQ(available(), 1);
}

TEST_F(CloudAvailability, CannotBeSwitchedOnWithoutAnEntitlement) {
    fake.entitlements->values.clear();
    fake.environment->values[enableSwitch] = "YES";
    EXPECT_EQ(available(), 0);
}

class NeededEntitlements : public CloudAvailability,
                           public testing::WithParamInterface<const char*> {};

TEST_P(NeededEntitlements, AreMissedWhenTheyAreNotThere) {
    fake.entitlements->values.erase(GetParam());
    EXPECT_EQ(available(), 0);
}

TEST_P(NeededEntitlements, AreMissedWhenTheyHoldOtherTextsOnly) {
    fake.entitlements->values[GetParam()] = Texts{"another", "cloudkit", "group.app.keltos"};
    EXPECT_EQ(available(), 0);
}

INSTANTIATE_TEST_SUITE_P(Names,
                         NeededEntitlements,
                         testing::Values(FakeEntitlements::applicationGroups,
                                         FakeEntitlements::iCloudContainers,
                                         FakeEntitlements::iCloudServices));

TEST_F(CloudAvailability, AcceptsAnEntitlementThatIsASingleText) {
    fake.entitlements->values[FakeEntitlements::applicationGroups] = fake.identity.appGroup;
    fake.entitlements->values[FakeEntitlements::iCloudContainers] = fake.identity.iCloudContainer;
    fake.entitlements->values[FakeEntitlements::iCloudServices] = std::string("CloudKit");
    EXPECT_EQ(available(), 1);
}

TEST_F(CloudAvailability, AcceptsAnAppGroupAmongSeveral) {
    fake.entitlements->values[FakeEntitlements::applicationGroups] =
        Texts{"group.app.other", fake.identity.appGroup, "group.app.third"};
    EXPECT_EQ(available(), 1);
}

TEST_F(CloudAvailability, IsMissingWhenOnlyOtherCloudServicesAreListed) {
    fake.entitlements->values[FakeEntitlements::iCloudServices] =
        Texts{"CloudDocuments", "CloudKit-Anonymous"};
    EXPECT_EQ(available(), 0);
}

TEST_F(CloudAvailability, AsksThePlatformAnewEveryTime) {
    EXPECT_EQ(available(), 1);
    fake.environment->values[disableSwitch] = "";
    EXPECT_EQ(available(), 0);
    fake.environment->values.clear();
    EXPECT_EQ(available(), 1);
    fake.entitlements->values.clear();
    EXPECT_EQ(available(), 0);
}

class Entitlement : public testing::Test {
protected:
    bool holds(std::string_view value) const {
        return hasEntitlement(fake.platform(), "name", value);
    }

    FakePlatform fake;
};

TEST_F(Entitlement, IsNotHeldWhenThereIsNone) {
    EXPECT_FALSE(holds(""));
}

TEST_F(Entitlement, IsComparedExactly) {
    fake.entitlements->values["name"] = Texts{"Value"};
    EXPECT_TRUE(holds("Value"));
    EXPECT_FALSE(holds("value"));
    EXPECT_FALSE(holds("Valu"));
    EXPECT_FALSE(holds("Value "));
}

TEST_F(Entitlement, IsNotHeldWhenTheValueIsOfAnotherKind) {
    fake.entitlements->values["name"] = std::monostate();
    EXPECT_FALSE(holds(""));
}

TEST_F(Entitlement, IsNotHeldByAnEmptyList) {
    fake.entitlements->values["name"] = Texts{};
    EXPECT_FALSE(holds(""));
}

class GroupPath : public testing::Test {
protected:
    FakePlatform fake;
};

TEST_F(GroupPath, IsTheFolderOfTheProductsGroup) {
    EXPECT_EQ(groupPath(fake.platform()), fake.groupFolder());
}

TEST_F(GroupPath, IsNoneWithoutTheEntitlement) {
    fake.entitlements->values.erase(FakeEntitlements::applicationGroups);
    EXPECT_EQ(groupPath(fake.platform()), std::nullopt);
}

TEST_F(GroupPath, IsNoneWhenTheSystemHasNoContainer) {
    fake.groupContainer->folders.clear();
    EXPECT_EQ(groupPath(fake.platform()), std::nullopt);
}

TEST_F(GroupPath, NeedsNoCloud) {
    fake.environment->values[disableSwitch] = "";
    fake.entitlements->values.erase(FakeEntitlements::iCloudServices);
    EXPECT_EQ(groupPath(fake.platform()), fake.groupFolder());
}

}  // namespace
}  // namespace kelto
