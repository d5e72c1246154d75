#pragma once

#include <string_view>

#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// The name of the marker file beside the store.
inline constexpr std::string_view accountMarkerName = "AvaloniaCloudAccount";

/// Binds a library folder to the first account that syncs it: the account's name is written into a
/// marker file once, and never changed or removed again. Makes the folder when it is missing.
/// Another account is refused with a BridgeError.
void bindToAccount(FileSystem& files,
                   Random& random,
                   std::string_view libraryFolder,
                   std::string_view accountName);

/// The refusal of another account, without binding a folder that belongs to none yet.
void requireAccount(FileSystem& files,
                    std::string_view libraryFolder,
                    std::string_view accountName);

}  // namespace kelto
