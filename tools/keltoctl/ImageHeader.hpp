#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/keltoctl/ImageSize.hpp"

namespace kelto::ctl {

/// Numbers and marks at offsets of a picture's header. What lies beyond the end reads as none, so
/// that no caller has to compare an offset with a length.
class ImageHeader {
public:
    explicit ImageHeader(const ReadAt& readAt) : readAt_(readAt) {}

    [[nodiscard]] bool has(std::uint64_t offset, std::string_view mark) const {
        std::array<std::byte, 16> bytes{};
        const auto wanted = std::span(bytes).first(mark.size());
        return readAt_(offset, wanted) == mark.size() && textOf(wanted) == mark;
    }
    [[nodiscard]] std::optional<std::uint32_t> bigEndian(std::uint64_t offset,
                                                         std::size_t size) const {
        return number(offset, size, ByteOrder::big);
    }
    [[nodiscard]] std::optional<std::uint32_t> littleEndian(std::uint64_t offset,
                                                            std::size_t size) const {
        return number(offset, size, ByteOrder::little);
    }

    enum class ByteOrder : std::uint8_t { big, little };
    /// `size` is 1 to 4 bytes.
    [[nodiscard]] std::optional<std::uint32_t> number(std::uint64_t offset,
                                                      std::size_t size,
                                                      ByteOrder order) const {
        std::array<std::byte, 4> bytes{};
        if (readAt_(offset, std::span(bytes).first(size)) != size) return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t at = 0; at < size; ++at) {
            const std::size_t from = order == ByteOrder::big ? at : size - 1 - at;
            value = value << 8U | std::to_integer<std::uint32_t>(bytes[from]);
        }
        return value;
    }

private:
    const ReadAt& readAt_;
};

/// Sizes that a header may claim but no picture has are none.
[[nodiscard]] inline std::optional<ImageSize> plausibleSize(std::optional<std::int64_t> width,
                                                            std::optional<std::int64_t> height) {
    constexpr std::int64_t limit = 1'000'000;
    if (!width || !height || *width < 1 || *height < 1 || *width > limit || *height > limit)
        return std::nullopt;
    return ImageSize{*width, *height};
}

}  // namespace kelto::ctl
