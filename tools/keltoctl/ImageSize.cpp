#include "tools/keltoctl/ImageSize.hpp"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/ImageHeader.hpp"
#include "tools/keltoctl/JpegSize.hpp"

namespace kelto::ctl {

namespace {

std::optional<ImageSize> pngSize(const ImageHeader& header) {
    if (!header.has(12, "IHDR")) return std::nullopt;
    return plausibleSize(header.bigEndian(16, 4), header.bigEndian(20, 4));
}

std::optional<ImageSize> gifSize(const ImageHeader& header) {
    return plausibleSize(header.littleEndian(6, 2), header.littleEndian(8, 2));
}

std::optional<ImageSize> bmpSize(const ImageHeader& header) {
    constexpr std::uint32_t oldHeaderBytes = 12;
    const auto headerBytes = header.littleEndian(14, 4);
    if (!headerBytes) return std::nullopt;
    if (*headerBytes == oldHeaderBytes)
        return plausibleSize(header.littleEndian(18, 2), header.littleEndian(20, 2));
    const auto width = header.littleEndian(18, 4);
    const auto height = header.littleEndian(22, 4);
    if (!width || !height) return std::nullopt;
    // A negative height only says that the rows run from top to bottom.
    const std::int64_t rows = static_cast<std::int32_t>(*height);
    return plausibleSize(static_cast<std::int32_t>(*width), rows < 0 ? -rows : rows);
}

std::optional<ImageSize> webpSize(const ImageHeader& header) {
    constexpr std::uint32_t fourteenBits = 0x3FFF;
    if (header.has(12, "VP8X")) {
        const auto width = header.littleEndian(24, 3);
        const auto height = header.littleEndian(27, 3);
        if (!width || !height) return std::nullopt;
        return plausibleSize(std::int64_t{*width} + 1, std::int64_t{*height} + 1);
    }
    if (header.has(12, "VP8L") && header.has(20, "\x2F")) {
        const auto bits = header.littleEndian(21, 4);
        if (!bits) return std::nullopt;
        return plausibleSize((*bits & fourteenBits) + 1, (*bits >> 14U & fourteenBits) + 1);
    }
    if (header.has(12, "VP8 ") && header.has(23, "\x9D\x01\x2A")) {
        const auto width = header.littleEndian(26, 2);
        const auto height = header.littleEndian(28, 2);
        if (!width || !height) return std::nullopt;
        return plausibleSize(*width & fourteenBits, *height & fourteenBits);
    }
    return std::nullopt;
}

}  // namespace

std::optional<ImageSize> readImageSize(const ReadAt& readAt) {
    const ImageHeader header(readAt);
    if (header.has(0, "\x89PNG\r\n\x1A\n")) return pngSize(header);
    if (header.has(0, "\xFF\xD8\xFF")) return jpegSize(header);
    if (header.has(0, "GIF87a") || header.has(0, "GIF89a")) return gifSize(header);
    if (header.has(0, "RIFF") && header.has(8, "WEBP")) return webpSize(header);
    if (header.has(0, "BM")) return bmpSize(header);
    return std::nullopt;
}

std::optional<ImageSize> readImageSize(Bytes bytes) {
    return readImageSize([&](std::uint64_t offset, std::span<std::byte> out) -> std::size_t {
        if (offset >= bytes.size()) return 0;
        const auto found = bytes.subspan(offset, std::min(out.size(), bytes.size() - offset));
        std::memcpy(out.data(), found.data(), found.size());
        return found.size();
    });
}

std::optional<ImageSize> readImageSizeOfFile(const std::string& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) return std::nullopt;
    return readImageSize([&](std::uint64_t offset, std::span<std::byte> out) -> std::size_t {
        const ssize_t count =
            ::pread(file.number(), out.data(), out.size(), static_cast<off_t>(offset));
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    });
}

}  // namespace kelto::ctl
