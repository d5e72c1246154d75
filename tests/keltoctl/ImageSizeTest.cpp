#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tools/keltoctl/ImageSize.hpp"

namespace kelto::ctl {

void PrintTo(const ImageSize& size, std::ostream* out) {
    *out << size.width << "×" << size.height;
}

namespace {

std::string bigEndian(std::uint32_t value, int size) {
    std::string bytes;
    for (int at = size - 1; at >= 0; --at)
        bytes += static_cast<char>(value >> (8U * static_cast<unsigned>(at)) & 0xFFU);
    return bytes;
}

std::string littleEndian(std::uint32_t value, int size) {
    const std::string reversed = bigEndian(value, size);
    return {reversed.rbegin(), reversed.rend()};
}

std::string text(std::string_view bytes) {
    return std::string(bytes);
}

std::string png(std::uint32_t width, std::uint32_t height) {
    return "\x89PNG\r\n\x1A\n" + bigEndian(13, 4) + "IHDR" + bigEndian(width, 4) +
           bigEndian(height, 4);
}

std::string gif(std::uint32_t width, std::uint32_t height) {
    return "GIF89a" + littleEndian(width, 2) + littleEndian(height, 2);
}

std::string bmp(std::int32_t width, std::int32_t height) {
    return "BM" + std::string(12, '\0') + littleEndian(40, 4) +
           littleEndian(static_cast<std::uint32_t>(width), 4) +
           littleEndian(static_cast<std::uint32_t>(height), 4);
}

std::string riff(std::string_view chunk, const std::string& body) {
    return "RIFF" + littleEndian(100, 4) + "WEBP" + text(chunk) + littleEndian(10, 4) + body;
}

std::string webpLossy(std::uint32_t width, std::uint32_t height) {
    return riff(
        "VP8 ",
        std::string(3, '\0') + "\x9D\x01\x2A" + littleEndian(width, 2) + littleEndian(height, 2));
}

std::string webpLossless(std::uint32_t width, std::uint32_t height) {
    return riff("VP8L", "\x2F" + littleEndian((width - 1) | (height - 1) << 14U, 4));
}

std::string webpExtended(std::uint32_t width, std::uint32_t height) {
    return riff("VP8X",
                std::string(4, '\0') + littleEndian(width - 1, 3) + littleEndian(height - 1, 3));
}

std::string segment(char marker, const std::string& body) {
    return "\xFF" + std::string(1, marker) +
           bigEndian(static_cast<std::uint32_t>(body.size() + 2), 2) + body;
}

std::string frame(std::uint32_t width, std::uint32_t height, char marker = '\xC0') {
    return segment(marker, "\x08" + bigEndian(height, 2) + bigEndian(width, 2) + "\x03");
}

const std::string startOfImage = "\xFF\xD8";

/// An Exif block with one entry, the orientation, in either order of bytes.
std::string exif(std::uint32_t orientation, bool isLittleEndian) {
    const auto number = [&](std::uint32_t value, int size) {
        return isLittleEndian ? littleEndian(value, size) : bigEndian(value, size);
    };
    return segment('\xE1',
                   text({"Exif\0\0", 6}) + (isLittleEndian ? "II" : "MM") + number(42, 2) +
                       number(8, 4) + number(1, 2) + number(0x0112, 2) + number(3, 2) +
                       number(1, 4) + number(orientation, 2) + number(0, 2));
}

struct Header {
    const char* name;
    std::string bytes;
    ImageSize size;
};

const Header headers[] = {
    {"Png", png(640, 400), {640, 400}},
    {"Gif", gif(160, 90), {160, 90}},
    {"Gif87", "GIF87a" + littleEndian(7, 2) + littleEndian(5, 2), {7, 5}},
    {"Bmp", bmp(300, 200), {300, 200}},
    {"BmpTopDown", bmp(300, -200), {300, 200}},
    {"BmpOldHeader",
     "BM" + std::string(12, '\0') + littleEndian(12, 4) + littleEndian(30, 2) + littleEndian(20, 2),
     {30, 20}},
    {"WebpLossy", webpLossy(400, 300), {400, 300}},
    {"WebpLossyScaled", webpLossy(400 | 0xC000, 300 | 0x4000), {400, 300}},
    {"WebpLossless", webpLossless(512, 288), {512, 288}},
    {"WebpExtended", webpExtended(100'000, 3), {100'000, 3}},
    {"Jpeg", startOfImage + segment('\xE0', "JFIF") + frame(480, 320), {480, 320}},
    {"JpegProgressive", startOfImage + segment('\xDB', "tables") + frame(9, 4, '\xC2'), {9, 4}},
    {"JpegFillBytes", startOfImage + "\xFF\xFF\xFF" + frame(9, 4), {9, 4}},
    {"JpegUpright", startOfImage + exif(1, true) + frame(360, 240), {360, 240}},
    {"JpegOnItsSide", startOfImage + exif(6, true) + frame(360, 240), {240, 360}},
    {"JpegOnItsSideBigEndian", startOfImage + exif(8, false) + frame(360, 240), {240, 360}},
};

class ImageSizeOf : public testing::TestWithParam<Header> {};

TEST_P(ImageSizeOf, IsWhatTheHeaderStates) {
    EXPECT_EQ(readImageSize(bytesOf(GetParam().bytes)), GetParam().size);
}

TEST_P(ImageSizeOf, IsNoneWhereverTheHeaderIsCutOff) {
    // A frame's last byte counts its components and says nothing of the size.
    const std::string& whole = GetParam().bytes;
    for (std::size_t length = 0; length + 1 < whole.size(); ++length)
        EXPECT_EQ(readImageSize(bytesOf(whole.substr(0, length))), std::nullopt) << length;
}

INSTANTIATE_TEST_SUITE_P(Headers, ImageSizeOf, testing::ValuesIn(headers), [](const auto& test) {
    return std::string(test.param.name);
});

struct HostileHeader {
    const char* name;
    std::string bytes;
};

const HostileHeader hostileHeaders[] = {
    {"Empty", ""},
    {"Text", "Not a picture at all, but long enough to be one."},
    {"PngWithoutWidth", png(0, 400)},
    {"PngOfFourBillionPixels", png(0xFFFFFFFF, 0xFFFFFFFF)},
    {"PngWithAnotherChunkFirst", "\x89PNG\r\n\x1A\n" + bigEndian(13, 4) + "IDAT" + png(9, 9)},
    {"GifWithoutHeight", gif(10, 0)},
    {"BmpOfNegativeWidth", bmp(-5, 5)},
    {"BmpOfTheLowestHeight", bmp(5, INT32_MIN)},
    {"WebpOfAnUnknownChunk", riff("ALPH", std::string(20, '\1'))},
    {"WebpLossyWithoutItsMark", riff("VP8 ", std::string(10, '\1'))},
    {"JpegWhoseSegmentIsShorterThanItself",
     startOfImage + "\xFF\xE0" + bigEndian(0, 2) + frame(9, 9)},
    {"JpegThatEndsBeforeItsFrame", startOfImage + "\xFF\xD9" + frame(9, 9)},
    {"JpegWhoseScanComesFirst", startOfImage + segment('\xDA', "x") + frame(9, 9)},
    {"JpegThatIsLost", startOfImage + segment('\xE0', "x") + "no marker" + frame(9, 9)},
    {"JpegWithoutHeight", startOfImage + frame(9, 0)},
};

class HostileImage : public testing::TestWithParam<HostileHeader> {};

TEST_P(HostileImage, HasNoSize) {
    EXPECT_EQ(readImageSize(bytesOf(GetParam().bytes)), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Headers,
                         HostileImage,
                         testing::ValuesIn(hostileHeaders),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ImageSize, IsNotSearchedThroughEndlessSegments) {
    std::string endless = startOfImage;
    for (int at = 0; at < 5000; ++at) endless += segment('\xFE', "");
    EXPECT_EQ(readImageSize(bytesOf(endless + frame(9, 9))), std::nullopt);
}

TEST(ImageSize, IgnoresAnOrientationThatPointsBeyondTheEnd) {
    const std::string block = segment(
        '\xE1', text({"Exif\0\0", 6}) + "II*" + text({"\0", 1}) + littleEndian(0xFFFFFFFF, 4));
    EXPECT_EQ(readImageSize(bytesOf(startOfImage + block + frame(9, 4))), (ImageSize{9, 4}));
}

TEST(ImageSize, IsNoneForAFileThatIsNotThere) {
    EXPECT_EQ(readImageSizeOfFile("/no/such/picture.png"), std::nullopt);
}

struct Sample {
    const char* name;
    const char* path;
    ImageSize size;
};

const Sample samples[] = {
    {"Png", "Harbour at dusk.png", {640, 400}},
    {"Gif", "Orbits.gif", {160, 160}},
    {"Jpeg", "Photos/Café am Morgen.jpg", {480, 320}},
    {"ProgressiveJpeg", "Photos/Hills 2024.spring.walk.jpg", {900, 300}},
    {"RotatedJpeg", "Photos/Sunflower.jpg", {240, 360}},
    {"Webp", "Photos/日本の山.webp", {400, 400}},
};

class SamplePicture : public testing::TestWithParam<Sample> {};

TEST_P(SamplePicture, IsMeasured) {
    EXPECT_EQ(readImageSizeOfFile(std::string(KELTO_SAMPLES "/") + GetParam().path),
              GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(Files, SamplePicture, testing::ValuesIn(samples), [](const auto& test) {
    return std::string(test.param.name);
});

}  // namespace
}  // namespace kelto::ctl
