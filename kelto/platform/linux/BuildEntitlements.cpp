#include "kelto/platform/linux/BuildEntitlements.hpp"

namespace kelto {

namespace {

// The file's bytes as numbers, and a zero behind them: whatever the file holds is plain C++.
constexpr unsigned char entitlementBytes[] = {
#include "BuildEntitlements.inc"
};

}  // namespace

std::string_view buildEntitlementsJson() {
    return {reinterpret_cast<const char*>(entitlementBytes), sizeof entitlementBytes - 1};
}

}  // namespace kelto
