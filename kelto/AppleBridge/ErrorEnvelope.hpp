#pragma once

#include <exception>
#include <string>

namespace kelto {

/// The version that every request must name and every response and error envelope names.
inline constexpr int bridgeProtocolVersion = 1;

/// The response of an exchange that failed: {"version":1,"error":"…"}, with the one-line
/// description of `error`.
[[nodiscard]] std::string errorEnvelope(const std::exception& error);

}  // namespace kelto
