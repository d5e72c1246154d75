#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kelto {

// Hexadecimal digits by table: identifiers and digests are read and printed once for each item of
// an exchange.

/// What hexDigitValues holds for a byte that is no hexadecimal digit: more than any digit, so that
/// the values of many bytes can be joined by "or" and checked at once.
inline constexpr std::uint8_t noHexDigit = 0xFF;

namespace detail {

constexpr std::array<std::uint8_t, 256> makeHexDigitValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(noHexDigit);
    for (std::uint8_t digit = 0; digit < 10; ++digit) values[std::size_t{'0'} + digit] = digit;
    for (std::uint8_t digit = 10; digit < 16; ++digit) {
        values[std::size_t{'a'} + digit - 10] = digit;
        values[std::size_t{'A'} + digit - 10] = digit;
    }
    return values;
}

constexpr std::array<char, 512> makeHexPairs(std::string_view digits) {
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[2 * byte] = digits[byte >> 4];
        pairs[2 * byte + 1] = digits[byte & 0xF];
    }
    return pairs;
}

}  // namespace detail

inline constexpr std::array<std::uint8_t, 256> hexDigitValues = detail::makeHexDigitValues();
/// The two digits of every byte, one pair after the other.
inline constexpr std::array<char, 512> lowerCaseHexPairs = detail::makeHexPairs("0123456789abcdef");
inline constexpr std::array<char, 512> upperCaseHexPairs = detail::makeHexPairs("0123456789ABCDEF");

/// 0 to 15, or noHexDigit.
constexpr std::uint8_t hexDigitValue(char digit) {
    return hexDigitValues[static_cast<std::uint8_t>(digit)];
}

/// Writes the two digits of `byte` to `to`.
constexpr void putHexPair(char* to, std::uint8_t byte, const std::array<char, 512>& pairs) {
    to[0] = pairs[std::size_t{byte} * 2];
    to[1] = pairs[std::size_t{byte} * 2 + 1];
}

}  // namespace kelto
