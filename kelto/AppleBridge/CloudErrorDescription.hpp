#pragma once

#include <exception>
#include <string>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// The platform form of whatever was thrown: a PlatformError's own object, a BridgeError with its
/// message as description, want of memory with a sentence, any other exception with its what().
[[nodiscard]] ErrorRef platformForm(const std::exception& error);

/// One short line for a person out of a whole tree of errors: its leaves without the generic batch
/// failures, each with its most specific text, cloud errors marked with their code, duplicates
/// removed, sorted, at most three, joined by "; ". Never fails.
[[nodiscard]] std::string cloudErrorDescription(const ErrorRef& error);
[[nodiscard]] std::string cloudErrorDescription(const std::exception& error);

}  // namespace kelto
