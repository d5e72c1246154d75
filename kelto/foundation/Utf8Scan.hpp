#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kelto {

/// How many bytes at the front of `text` are ASCII. Looks at eight bytes at a time: every exchange
/// runs through here with all of its megabytes, and nearly all of them are ASCII.
[[nodiscard]] inline std::size_t asciiLength(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    std::size_t length = 0;
    for (; text.size() - length >= sizeof(std::uint64_t); length += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + length, sizeof word);
        const std::uint64_t marked = word & highBits;
        if (marked == 0) continue;
        const int bits = std::endian::native == std::endian::little ? std::countr_zero(marked)
                                                                    : std::countl_zero(marked);
        return length + static_cast<std::size_t>(bits) / 8;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
    return length;
}

[[nodiscard]] inline bool isAscii(std::string_view text) {
    return asciiLength(text) == text.size();
}

/// What stands at the front of a text: one character, or the longest beginning of one that the next
/// byte breaks off (a "maximal subpart", which counts as one U+FFFD).
struct Utf8Sequence {
    std::size_t length;
    bool isWellFormed;
};

/// `text` is not empty.
[[nodiscard]] inline Utf8Sequence firstUtf8Sequence(std::string_view text) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = byteAt(0);
    if (lead < 0x80) return {1, true};
    if (lead < 0xC2 || lead > 0xF4) return {1, false};

    // The second byte is narrower after four of the leads: no overlong forms, no surrogates,
    // nothing above U+10FFFF.
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    for (std::size_t index = 1; index < length; ++index) {
        if (index == text.size() || byteAt(index) < low || byteAt(index) > high) {
            return {index, false};
        }
        low = 0x80;
        high = 0xBF;
    }
    return {length, true};
}

/// How many bytes at the front of `text` are well-formed UTF-8.
[[nodiscard]] inline std::size_t wellFormedLength(std::string_view text) {
    std::size_t length = 0;
    while (true) {
        length += asciiLength(text.substr(length));
        // Texts in other scripts have few ASCII characters: stay here while there are none.
        while (length < text.size() && static_cast<unsigned char>(text[length]) >= 0x80) {
            const Utf8Sequence sequence = firstUtf8Sequence(text.substr(length));
            if (!sequence.isWellFormed) return length;
            length += sequence.length;
        }
        if (length == text.size()) return length;
    }
}

}  // namespace kelto
