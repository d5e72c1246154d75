#pragma once

#include <optional>

#include "tools/keltoctl/ImageHeader.hpp"

namespace kelto::ctl {

/// The size in a JPEG's frame header, turned upright as its Exif orientation says.
[[nodiscard]] std::optional<ImageSize> jpegSize(const ImageHeader& header);

}  // namespace kelto::ctl
