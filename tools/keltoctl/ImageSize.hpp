#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "kelto/foundation/Bytes.hpp"

namespace kelto::ctl {

/// Pixels as seen: a photograph that a camera stored on its side counts upright.
struct ImageSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    [[nodiscard]] double aspectRatio() const {
        return static_cast<double>(width) / static_cast<double>(height);
    }
    friend bool operator==(const ImageSize&, const ImageSize&) = default;
};

/// Reads bytes at an offset and answers how many there were; fewer than asked for means the end.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<std::byte> out)>;

/// The size that the header of a PNG, JPEG, GIF, WebP or BMP states. Reads a few bytes of it, never
/// the picture. None for anything else, for a header that is cut off, and for sizes no picture has
/// (zero, or more than a million pixels to a side).
[[nodiscard]] std::optional<ImageSize> readImageSize(const ReadAt& readAt);
[[nodiscard]] std::optional<ImageSize> readImageSize(Bytes bytes);
/// None also when the file cannot be read.
[[nodiscard]] std::optional<ImageSize> readImageSizeOfFile(const std::string& path);

}  // namespace kelto::ctl
