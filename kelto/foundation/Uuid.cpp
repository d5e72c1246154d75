#include "kelto/foundation/Uuid.hpp"

#include "kelto/foundation/HexDigits.hpp"

namespace kelto {

namespace {

/// Where the two digits of each byte stand in the text.
constexpr std::array<std::uint8_t, 16> digitOffsets = {
    0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};
constexpr std::array<std::uint8_t, 4> hyphenOffsets = {8, 13, 18, 23};

void print(const Uuid& uuid, const std::array<char, 512>& pairs, char* to) {
    for (const std::uint8_t offset : hyphenOffsets) to[offset] = '-';
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        putHexPair(to + digitOffsets[i], uuid.bytes[i], pairs);
    }
}

}  // namespace

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != textLength) return std::nullopt;
    for (const std::uint8_t offset : hyphenOffsets) {
        if (text[offset] != '-') return std::nullopt;
    }
    Uuid uuid;
    unsigned seen = 0;  // the values of all digits, joined: above 15 when one was no digit
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        const unsigned high = hexDigitValue(text[digitOffsets[i]]);
        const unsigned low = hexDigitValue(text[digitOffsets[i] + std::size_t{1}]);
        seen |= high | low;
        uuid.bytes[i] = static_cast<std::uint8_t>((high << 4 | low) & 0xFF);
    }
    if (seen > 0xF) return std::nullopt;
    return uuid;
}

std::string Uuid::lowerCaseText() const {
    std::string text(textLength, '\0');
    print(*this, lowerCaseHexPairs, text.data());
    return text;
}

std::string Uuid::upperCaseText() const {
    std::string text(textLength, '\0');
    print(*this, upperCaseHexPairs, text.data());
    return text;
}

void Uuid::appendLowerCase(std::string& text) const {
    const std::size_t before = text.size();
    text.resize(before + textLength);
    print(*this, lowerCaseHexPairs, text.data() + before);
}

void Uuid::putLowerCase(char* to) const {
    print(*this, lowerCaseHexPairs, to);
}

}  // namespace kelto
