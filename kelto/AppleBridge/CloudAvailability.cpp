#include "kelto/AppleBridge/CloudAvailability.hpp"

#include <algorithm>

#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

constexpr std::string_view applicationGroups = "com.apple.security.application-groups";
constexpr std::string_view iCloudContainers = "com.apple.developer.icloud-container-identifiers";
constexpr std::string_view iCloudServices = "com.apple.developer.icloud-services";

/// Switches for developers and test runs. Only the word "no" in the second one counts.
bool isSwitchedOff(ProcessEnvironment& environment) {
    const auto variables = environment.variables();
    if (variables.contains("KELTO_DISABLE_CLOUDKIT")) return true;
    const auto enabled = variables.find("KELTO_CLOUDKIT_ENABLED");
    return enabled != variables.end() && upperCased(enabled->second) == "NO";
}

}  // namespace

bool hasEntitlement(const Platform& platform, std::string_view name, std::string_view value) {
    const std::optional<EntitlementValue> held = platform.entitlements->value(name);
    if (!held) return false;
    if (const auto* text = std::get_if<std::string>(&*held)) return *text == value;
    const auto* texts = std::get_if<std::vector<std::string>>(&*held);
    return texts != nullptr && std::find(texts->begin(), texts->end(), value) != texts->end();
}

std::int32_t cloudAvailable(const Platform& platform) {
    const ProductIdentity& identity = platform.identity;
    const bool isAvailable = !isSwitchedOff(*platform.environment) &&
                             hasEntitlement(platform, applicationGroups, identity.appGroup) &&
                             hasEntitlement(platform, iCloudContainers, identity.iCloudContainer) &&
                             hasEntitlement(platform, iCloudServices, "CloudKit");
    return isAvailable ? 1 : 0;
}

std::optional<std::string> groupPath(const Platform& platform) {
    const std::string& appGroup = platform.identity.appGroup;
    if (!hasEntitlement(platform, applicationGroups, appGroup)) return std::nullopt;
    return platform.groupContainer->path(appGroup);
}

}  // namespace kelto
