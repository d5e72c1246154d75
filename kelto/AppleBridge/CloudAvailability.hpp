#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/platform/Platform.hpp"

namespace kelto {

/// Whether the running process holds the entitlement `name` with exactly `value`, as its single
/// text or as one of its list of texts. Asks the platform anew every time. Any thread.
[[nodiscard]] bool hasEntitlement(const Platform& platform,
                                  std::string_view name,
                                  std::string_view value);

/// 1 when this build, in this process, may use the cloud-mirrored store, else 0. The environment
/// can only switch it off. Whether anybody is signed in does not enter. Any thread.
[[nodiscard]] std::int32_t cloudAvailable(const Platform& platform);

/// The path of the application's App Group container; none without the entitlement or the
/// container. Any thread.
[[nodiscard]] std::optional<std::string> groupPath(const Platform& platform);

}  // namespace kelto
