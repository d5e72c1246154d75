#pragma once

#include <functional>
#include <map>

#include "kelto/platform/Entitlements.hpp"
#include "kelto/platform/Platform.hpp"

namespace kelto {

/// Grants what the test has put in: nothing at first.
class FakeEntitlements final : public Entitlements {
public:
    static constexpr const char* applicationGroups = "com.apple.security.application-groups";
    static constexpr const char* iCloudContainers =
        "com.apple.developer.icloud-container-identifiers";
    static constexpr const char* iCloudServices = "com.apple.developer.icloud-services";

    std::map<std::string, EntitlementValue, std::less<>> values;

    /// Everything that the product of this identity needs.
    void grantAll(const ProductIdentity& identity);

    [[nodiscard]] std::optional<EntitlementValue> value(std::string_view name) override;
};

}  // namespace kelto
