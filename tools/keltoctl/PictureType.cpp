#include "tools/keltoctl/PictureType.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kelto::ctl {

namespace {

struct Mark {
    std::size_t offset;
    std::string_view bytes;
    std::string_view mediaType;
};

constexpr std::array marks{
    Mark{0, "\x89PNG\r\n\x1A\n", "image/png"},
    Mark{0, "\xFF\xD8\xFF", "image/jpeg"},
    Mark{0, "GIF87a", "image/gif"},
    Mark{0, "GIF89a", "image/gif"},
    Mark{8, "WEBPVP8", "image/webp"},
    Mark{4, "ftypavif", "image/avif"},
    Mark{4, "ftypavis", "image/avif"},
    Mark{0, "BM", "image/bmp"},
    Mark{0, std::string_view("\0\0\1\0", 4), "image/x-icon"},
};

/// An SVG begins with its element, after blanks, a declaration or comments.
bool isSvg(std::string_view bytes) {
    constexpr std::size_t prologueBytes = 4096;
    bytes = bytes.substr(0, prologueBytes);
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
    return bytes.starts_with('<') && bytes.find("<svg") != std::string_view::npos;
}

}  // namespace

std::optional<std::string_view> pictureMediaType(std::string_view bytes) {
    for (const Mark& mark : marks)
        if (bytes.size() > mark.offset && bytes.substr(mark.offset).starts_with(mark.bytes))
            return mark.mediaType;
    if (isSvg(bytes)) return "image/svg+xml";
    return std::nullopt;
}

}  // namespace kelto::ctl
