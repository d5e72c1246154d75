#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace kelto {

/// Borrowed bytes, without an encoding.
using Bytes = std::span<const std::byte>;

[[nodiscard]] inline Bytes bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

[[nodiscard]] inline std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace kelto
