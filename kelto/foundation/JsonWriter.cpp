#include "kelto/foundation/JsonWriter.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/HexDigits.hpp"
#include "kelto/foundation/JsonStringScan.hpp"

namespace kelto {

namespace {

/// The letter after the reverse solidus; 0 for a control character that has none.
constexpr char shortEscape(char c) {
    switch (c) {
        case '"':
        case '\\':
        case '/':
            return c;
        case '\b':
            return 'b';
        case '\t':
            return 't';
        case '\n':
            return 'n';
        case '\f':
            return 'f';
        case '\r':
            return 'r';
        default:
            return 0;
    }
}

/// The most that one escaped byte takes.
constexpr std::size_t escapeBytes = 6;

char* putEscaped(char* to, char c) {
    *to++ = '\\';
    if (const char letter = shortEscape(c); letter != 0) {
        *to++ = letter;
        return to;
    }
    *to++ = 'u';
    *to++ = '0';
    *to++ = '0';
    putHexPair(to, static_cast<std::uint8_t>(c), lowerCaseHexPairs);
    return to + 2;
}

/// Enough for the text with quotation marks, and for what the copying writes beyond it.
std::size_t roomFor(std::string_view text) {
    constexpr std::size_t shortText = 256;
    constexpr std::size_t beside = 32;
    // A short text gets the most that it could need; of a long one the escapes are counted.
    if (text.size() <= shortText) return text.size() * escapeBytes + beside;
    std::size_t escapes = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while ((at = findJsonEscapable(at, end)) != end) {
        ++escapes;
        ++at;
    }
    return text.size() + escapes * escapeBytes + beside;
}

/// Writes into room that was made by roomFor(); answers the end.
char* putJsonString(char* to, std::string_view text) {
    *to++ = '"';
    const char* at = text.data();
    const char* const end = at + text.size();
    for (;;) {
        copyUpToJsonEscapable(at, end, to);
        if (at == end) break;
        to = putEscaped(to, *at++);
    }
    *to++ = '"';
    return to;
}

/// "d.ddde-xx", the shortest form that reads back equal, taken apart.
struct ShortestForm {
    std::array<char, 32> text;
    std::size_t length = 0;
    std::array<char, 20> digits;
    std::size_t digitCount = 0;
    int exponent = 0;  ///< of the first digit

    explicit ShortestForm(double magnitude) {
        const auto printed = std::to_chars(
            text.data(), text.data() + text.size(), magnitude, std::chars_format::scientific);
        length = static_cast<std::size_t>(printed.ptr - text.data());
        const char* at = text.data();
        for (; *at != 'e'; ++at) {
            if (*at != '.') digits[digitCount++] = *at;
        }
        const bool negative = at[1] == '-';
        std::from_chars(at + 2, printed.ptr, exponent);
        if (negative) exponent = -exponent;
    }
};

char* put(char* to, const char* text, std::size_t size) {
    std::memcpy(to, text, size);
    return to + size;
}

char* putZeros(char* to, std::size_t count) {
    std::memset(to, '0', count);
    return to + count;
}

/// Without an exponent: for 0.0001 and up, and for no more digits than 2^53 has.
char* putPositional(char* to, const ShortestForm& form) {
    const char* digits = form.digits.data();
    const std::size_t count = form.digitCount;
    if (form.exponent < 0) {
        to = putZeros(put(to, "0.", 2), static_cast<std::size_t>(-form.exponent - 1));
        return put(to, digits, count);
    }
    const std::size_t before = static_cast<std::size_t>(form.exponent) + 1;
    if (before >= count) return putZeros(put(to, digits, count), before - count);
    to = put(to, digits, before);
    *to++ = '.';
    return put(to, digits + before, count - before);
}

/// A sign, "0.000" and 17 digits, or a sign, 17 digits with a point and "e-308".
constexpr std::size_t mostDoubleBytes = 32;

char* putJsonDouble(char* to, double value) {
    constexpr double largestPositional = 0x1p53;
    constexpr double smallestPositional = 0.0001;
    if (!std::isfinite(value)) fatalError("A number without a JSON form was to be written");
    if (std::signbit(value)) *to++ = '-';
    const double magnitude = std::fabs(value);
    if (magnitude == 0) {
        *to++ = '0';
        return to;
    }
    const ShortestForm form(magnitude);
    const bool isPositional = smallestPositional <= magnitude && magnitude <= largestPositional;
    return isPositional ? putPositional(to, form) : put(to, form.text.data(), form.length);
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
    thread_local TextBuffer buffer;
    buffer.clear();
    appendJsonString(buffer, text);
    out += buffer.view();
}

void appendJsonString(TextBuffer& out, std::string_view text) {
    out.commit(putJsonString(out.room(roomFor(text)), text));
}

void appendJsonInteger(std::string& out, std::int64_t value) {
    std::array<char, 20> digits;
    const auto printed = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    out.append(digits.data(), printed.ptr);
}

void appendJsonInteger(TextBuffer& out, std::int64_t value) {
    constexpr std::size_t mostDigits = 20;
    char* const to = out.room(mostDigits);
    out.commit(std::to_chars(to, to + mostDigits, value).ptr);
}

void appendJsonDouble(std::string& out, double value) {
    std::array<char, mostDoubleBytes> text;
    out.append(text.data(), putJsonDouble(text.data(), value));
}

void appendJsonDouble(TextBuffer& out, double value) {
    out.commit(putJsonDouble(out.room(mostDoubleBytes), value));
}

}  // namespace kelto
