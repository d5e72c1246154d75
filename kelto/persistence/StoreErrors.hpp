#pragma once

#include <string>
#include <string_view>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

// How the store speaks of itself to a person, in one place.

/// "The library’s store “Kelto.store” ", for a sentence to go on from there.
[[nodiscard]] std::string storeNamed(std::string_view path);

/// What to do about any damage.
inline constexpr std::string_view whatHelpsDamage =
    "“keltoctl doctor” says where, and mends what can be mended.";

/// "The library’s store is damaged: <what>. …": what the store's own constraints and this library
/// keep out, so that somebody else must have written it.
[[nodiscard]] PlatformError damagedStore(std::string_view what);
/// Whether an error is one of those.
[[nodiscard]] bool isDamagedStore(const PlatformError& error);

}  // namespace kelto
