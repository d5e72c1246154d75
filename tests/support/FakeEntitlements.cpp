#include "tests/support/FakeEntitlements.hpp"

namespace kelto {

void FakeEntitlements::grantAll(const ProductIdentity& identity) {
    values[applicationGroups] = std::vector{identity.appGroup};
    values[iCloudContainers] = std::vector{identity.iCloudContainer};
    values[iCloudServices] = std::vector{std::string("CloudKit")};
}

std::optional<EntitlementValue> FakeEntitlements::value(std::string_view name) {
    const auto found = values.find(name);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

}  // namespace kelto
