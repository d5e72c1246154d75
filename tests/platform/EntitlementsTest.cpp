#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/platform/linux/BuildEntitlements.hpp"
#include "kelto/platform/linux/JsonEntitlements.hpp"

namespace kelto {
namespace {

using Texts = std::vector<std::string>;

TEST(JsonEntitlements, HoldsASingleText) {
    JsonEntitlements entitlements(R"({"name": "value"})");
    EXPECT_EQ(entitlements.value("name"), EntitlementValue("value"));
}

TEST(JsonEntitlements, HoldsAListOfTexts) {
    JsonEntitlements entitlements(R"({"name": ["one", "two"], "none": []})");
    EXPECT_EQ(entitlements.value("name"), EntitlementValue(Texts{"one", "two"}));
    EXPECT_EQ(entitlements.value("none"), EntitlementValue(Texts{}));
}

TEST(JsonEntitlements, HoldsNothingUnderAnUnknownName) {
    JsonEntitlements entitlements(R"({"name": "value"})");
    EXPECT_EQ(entitlements.value("Name"), std::nullopt);
    EXPECT_EQ(entitlements.value(""), std::nullopt);
}

class OtherEntitlementValues : public testing::TestWithParam<const char*> {};

TEST_P(OtherEntitlementValues, AreThereWithoutAnyText) {
    JsonEntitlements entitlements(std::string(R"({"name": )") + GetParam() + "}");
    EXPECT_EQ(entitlements.value("name"), EntitlementValue(std::monostate()));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds,
    OtherEntitlementValues,
    testing::Values("true", "1", "null", "{}", R"({"a": "b"})", R"(["a", 1])", R"([["a"]])"));

class BrokenEntitlements : public testing::TestWithParam<const char*> {};

TEST_P(BrokenEntitlements, GrantNothing) {
    EXPECT_EQ(JsonEntitlements(GetParam()).value("name"), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Texts,
                         BrokenEntitlements,
                         testing::Values("",
                                         "nonsense",
                                         R"({"name": "value")",
                                         R"({"name": "value",})",
                                         R"(["name"])",
                                         R"("name")"));

TEST(BuildEntitlements, AreTheFileThatTheBuildWasGiven) {
    std::ifstream file(KELTO_TEST_ENTITLEMENTS, std::ios::binary);
    ASSERT_TRUE(file);
    const std::string contents{std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>()};
    EXPECT_EQ(buildEntitlementsJson(), contents);
}

}  // namespace
}  // namespace kelto
