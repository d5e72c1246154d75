#include <array>
#include <cstddef>
#include <cstdint>

#include "kelto/foundation/HexDigits.hpp"
#include "kelto/foundation/JsonStringScan.hpp"
#include "kelto/foundation/JsonToken.hpp"

namespace kelto {

namespace {

constexpr std::ptrdiff_t unicodeEscapeBytes = 6;  // \uXXXX
constexpr std::uint32_t noCodeUnit = 0xFFFFFFFF;

/// The character that a letter after the reverse solidus stands for; 0 for \u and for no escape.
constexpr char unescaped(char letter) {
    switch (letter) {
        case '"':
        case '\\':
        case '/':
            return letter;
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return 0;
    }
}

/// The UTF-16 code unit of the \uXXXX at `at`, or noCodeUnit when there is none.
std::uint32_t codeUnit(const char* at, const char* end) {
    if (end - at < unicodeEscapeBytes || at[0] != '\\' || at[1] != 'u') return noCodeUnit;
    std::uint32_t unit = 0;
    std::uint32_t seen = 0;  // the values of all digits, joined: above 15 when one was no digit
    for (std::ptrdiff_t i = 2; i < unicodeEscapeBytes; ++i) {
        const std::uint32_t digit = hexDigitValue(at[i]);
        seen |= digit;
        unit = unit << 4 | digit;
    }
    return seen > 0xF ? noCodeUnit : unit;
}

constexpr bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

/// Checks the escape at `at`, a surrogate pair as one.
JsonTokenExtent scanEscape(const char* at, const char* end) {
    if (end - at < 2) return {end, "the text ends inside a string"};
    if (unescaped(at[1]) != 0) return {at + 2, nullptr};
    if (at[1] != 'u') return {at, "this escape is unknown"};
    const std::uint32_t unit = codeUnit(at, end);
    if (unit == noCodeUnit) return {at, "four hexadecimal digits must follow \\u"};
    const char* next = at + unicodeEscapeBytes;
    if (isHighSurrogate(unit) && isLowSurrogate(codeUnit(next, end))) {
        return {next + unicodeEscapeBytes, nullptr};
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
        return {at, "half of a surrogate pair stands alone"};
    }
    return {next, nullptr};
}

constexpr bool isBetween(char c, unsigned lowest, unsigned highest) {
    const unsigned byte = static_cast<unsigned char>(c);
    return byte >= lowest && byte <= highest;
}

/// The length of the well-formed UTF-8 sequence of two to four bytes at `at`, or 0. The second byte
/// decides about overlong forms, surrogates and what lies beyond U+10FFFF.
std::ptrdiff_t sequenceLength(const char* at, const char* end) {
    const unsigned lead = static_cast<unsigned char>(*at);
    const std::ptrdiff_t left = end - at;
    if (lead < 0xC2 || lead > 0xF4 || left < 2) return 0;
    if (lead < 0xE0) return isBetween(at[1], 0x80, 0xBF) ? 2 : 0;
    if (left < 3 || !isBetween(at[2], 0x80, 0xBF)) return 0;
    if (lead < 0xF0) {
        const unsigned lowest = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned highest = lead == 0xED ? 0x9F : 0xBF;
        return isBetween(at[1], lowest, highest) ? 3 : 0;
    }
    const unsigned lowest = lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xF4 ? 0x8F : 0xBF;
    const bool wellFormed =
        left >= 4 && isBetween(at[1], lowest, highest) && isBetween(at[3], 0x80, 0xBF);
    return wellFormed ? 4 : 0;
}

void putUtf8(char*& to, std::uint32_t scalar) {
    const auto continuation = [scalar](unsigned shift) {
        return static_cast<char>(0x80 | (scalar >> shift & 0x3F));
    };
    if (scalar < 0x80) {
        *to++ = static_cast<char>(scalar);
    } else if (scalar < 0x800) {
        *to++ = static_cast<char>(0xC0 | scalar >> 6);
        *to++ = continuation(0);
    } else if (scalar < 0x10000) {
        *to++ = static_cast<char>(0xE0 | scalar >> 12);
        *to++ = continuation(6);
        *to++ = continuation(0);
    } else {
        *to++ = static_cast<char>(0xF0 | scalar >> 18);
        *to++ = continuation(12);
        *to++ = continuation(6);
        *to++ = continuation(0);
    }
}

/// Decodes the escape at `at`, which was checked, and passes over it.
void decodeEscape(const char*& at, const char* end, char*& to) {
    if (const char character = unescaped(at[1]); character != 0) {
        *to++ = character;
        at += 2;
        return;
    }
    std::uint32_t scalar = codeUnit(at, end);
    at += unicodeEscapeBytes;
    if (isHighSurrogate(scalar)) {
        scalar = 0x10000 + ((scalar - 0xD800) << 10) + (codeUnit(at, end) - 0xDC00);
        at += unicodeEscapeBytes;
    }
    putUtf8(to, scalar);
}

}  // namespace

JsonTokenExtent scanJsonString(const char* at, const char* end) {
    bool hasEscapes = false;
    for (;;) {
        at = findJsonSpecial(at, end);
        if (at == end) return {end, "the text ends inside a string"};
        if (*at == '"') return {at + 1, nullptr, hasEscapes};
        if (*at == '\\') {
            const JsonTokenExtent escape = scanEscape(at, end);
            if (escape.fault != nullptr) return escape;
            hasEscapes = true;
            at = escape.end;
            continue;
        }
        if (static_cast<unsigned char>(*at) < 0x20) {
            return {at, "a control character in a string must be escaped"};
        }
        do {
            const std::ptrdiff_t length = sequenceLength(at, end);
            if (length == 0) return {at, "these bytes are not UTF-8"};
            at += length;
        } while (at != end && static_cast<unsigned char>(*at) >= 0x80);
    }
}

char* decodeJsonString(std::string_view raw, char* to) {
    const char* at = raw.data();
    const char* const end = at + raw.size();
    for (;;) {
        copyUpToEscape(at, end, to);
        if (at == end) return to;
        decodeEscape(at, end, to);
    }
}

}  // namespace kelto
