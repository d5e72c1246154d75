#pragma once

#include <optional>
#include <string_view>

namespace kelto::ctl {

/// The media type of a picture that every browser shows, told by its first bytes and never by what
/// its name or type claims: PNG, JPEG, GIF, WebP, AVIF, BMP, icons and SVG. None for anything else.
[[nodiscard]] std::optional<std::string_view> pictureMediaType(std::string_view bytes);

}  // namespace kelto::ctl
