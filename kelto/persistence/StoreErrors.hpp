#pragma once

#include <string>
#include <string_view>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

// How the store speaks of itself to a person, in one place.

/// "The library’s store “Kelto.store” ", for a sentence to go on from there.
[[nodiscard]] std::string storeNamed(std::string_view path);

/// "The library’s store is damaged: <what>.": what the store's own constraints and this library
/// keep out, so that somebody else must have written it.
[[nodiscard]] PlatformError damagedStore(std::string_view what);

}  // namespace kelto
