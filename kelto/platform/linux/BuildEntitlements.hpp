#pragma once

#include <string_view>

namespace kelto {

/// The entitlements that this build was given, as the text of the JSON file that the CMake variable
/// KELTO_ENTITLEMENTS named when it was configured.
[[nodiscard]] std::string_view buildEntitlementsJson();

}  // namespace kelto
