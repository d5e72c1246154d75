#include "tools/keltoctl/JpegSize.hpp"

namespace kelto::ctl {

namespace {

// A file can chain tiny segments for as long as it is; real ones have a few dozen before the frame.
constexpr int segmentLimit = 1000;
constexpr std::uint32_t directoryEntryLimit = 200;

constexpr std::uint32_t frameFirst = 0xC0;
constexpr std::uint32_t frameLast = 0xCF;
constexpr std::uint32_t huffmanTables = 0xC4;
constexpr std::uint32_t jpegExtensions = 0xC8;
constexpr std::uint32_t arithmeticTables = 0xCC;
constexpr std::uint32_t endOfImage = 0xD9;
constexpr std::uint32_t startOfScan = 0xDA;
constexpr std::uint32_t applicationOne = 0xE1;

constexpr std::uint32_t orientationTag = 0x0112;

bool isFrame(std::uint32_t marker) {
    return marker >= frameFirst && marker <= frameLast && marker != huffmanTables &&
           marker != jpegExtensions && marker != arithmeticTables;
}

/// Markers without a segment: RST0…RST7, SOI and TEM.
bool standsAlone(std::uint32_t marker) {
    return (marker >= 0xD0 && marker <= 0xD8) || marker == 0x01;
}

/// Whether the Exif block at `tiff` says that the picture lies on its side.
bool liesOnItsSide(const ImageHeader& header, std::uint64_t tiff) {
    ImageHeader::ByteOrder order = ImageHeader::ByteOrder::big;
    if (header.has(tiff, "II*"))
        order = ImageHeader::ByteOrder::little;
    else if (!header.has(tiff, std::string_view("MM\0*", 4)))
        return false;
    const auto directory = header.number(tiff + 4, 4, order);
    const auto entries = directory ? header.number(tiff + *directory, 2, order) : std::nullopt;
    if (!entries) return false;
    for (std::uint32_t at = 0; at < *entries && at < directoryEntryLimit; ++at) {
        const std::uint64_t entry = tiff + *directory + 2 + std::uint64_t{12} * at;
        if (header.number(entry, 2, order) != orientationTag) continue;
        const auto orientation = header.number(entry + 8, 2, order);
        return orientation && *orientation >= 5 && *orientation <= 8;
    }
    return false;
}

}  // namespace

std::optional<ImageSize> jpegSize(const ImageHeader& header) {
    bool onItsSide = false;
    std::uint64_t at = 2;
    for (int segment = 0; segment < segmentLimit; ++segment) {
        if (header.bigEndian(at, 1) != 0xFFU) return std::nullopt;
        const auto marker = header.bigEndian(at + 1, 1);
        if (!marker || *marker == startOfScan || *marker == endOfImage) return std::nullopt;
        if (*marker == 0xFF || standsAlone(*marker)) {  // a fill byte, or nothing but itself
            at += *marker == 0xFF ? 1 : 2;
            continue;
        }
        const auto length = header.bigEndian(at + 2, 2);
        if (!length || *length < 2) return std::nullopt;
        if (*marker == applicationOne && header.has(at + 4, std::string_view("Exif\0\0", 6)))
            onItsSide = liesOnItsSide(header, at + 10);
        if (isFrame(*marker)) {
            const auto height = header.bigEndian(at + 5, 2);
            const auto width = header.bigEndian(at + 7, 2);
            return onItsSide ? plausibleSize(height, width) : plausibleSize(width, height);
        }
        at += 2 + *length;
    }
    return std::nullopt;
}

}  // namespace kelto::ctl
