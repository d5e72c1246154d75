#pragma once

#include <bit>
#include <cstddef>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kelto {

// Searches over the inside of JSON strings. Nearly all bytes of an exchange stand in strings, so
// they are looked at sixteen at a time where the processor can.

/// Whether a byte stands for itself in a JSON string and is ASCII.
constexpr bool isPlainInJsonString(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// Whether the writer escapes the byte.
constexpr bool isJsonEscapable(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == '/';
}

#ifdef __SSE2__
namespace detail {

inline constexpr std::ptrdiff_t blockBytes = 16;

inline __m128i loadBlock(const char* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline __m128i equalTo(__m128i block, char c) {
    return _mm_cmpeq_epi8(block, _mm_set1_epi8(c));
}

/// One bit for each byte of the block.
inline unsigned bitsOf(__m128i comparison) {
    return static_cast<unsigned>(_mm_movemask_epi8(comparison));
}

inline unsigned specialBits(const char* at) {
    const __m128i block = loadBlock(at);
    // Compared as signed bytes, so that 80 to FF lie below the blank with the control characters.
    const __m128i notPlain = _mm_cmplt_epi8(block, _mm_set1_epi8(0x20));
    return bitsOf(_mm_or_si128(notPlain, _mm_or_si128(equalTo(block, '"'), equalTo(block, '\\'))));
}

inline unsigned escapableBits(__m128i block) {
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
    const __m128i solidus = _mm_or_si128(equalTo(block, '/'), equalTo(block, '\\'));
    return bitsOf(_mm_or_si128(_mm_or_si128(control, solidus), equalTo(block, '"')));
}

/// Copies whole blocks up to the first byte that `bitsOf` marks, moves both positions there, and
/// answers whether it met one; else less than a block is left.
template <typename BitsOf>
bool copyBlocks(const char*& from, const char* end, char*& to, BitsOf bitsOf) {
    while (end - from >= blockBytes) {
        const __m128i block = loadBlock(from);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
        const unsigned bits = bitsOf(block);
        const int copied = bits == 0 ? static_cast<int>(blockBytes) : std::countr_zero(bits);
        from += copied;
        to += copied;
        if (bits != 0) return true;
    }
    return false;
}

}  // namespace detail
#endif

/// The first byte that is not plain ASCII: the closing quotation mark, an escape, a control
/// character or the start of a longer UTF-8 sequence; `end` when there is none.
inline const char* findJsonSpecial(const char* at, const char* end) {
#ifdef __SSE2__
    for (; end - at >= detail::blockBytes; at += detail::blockBytes) {
        if (const unsigned bits = detail::specialBits(at)) return at + std::countr_zero(bits);
    }
#endif
    while (at != end && isPlainInJsonString(*at)) ++at;
    return at;
}

/// The first byte that the writer escapes, or `end`.
inline const char* findJsonEscapable(const char* at, const char* end) {
#ifdef __SSE2__
    for (; end - at >= detail::blockBytes; at += detail::blockBytes) {
        if (const unsigned bits = detail::escapableBits(detail::loadBlock(at)))
            return at + std::countr_zero(bits);
    }
#endif
    while (at != end && !isJsonEscapable(*at)) ++at;
    return at;
}

/// Copies up to the first byte that the writer escapes or `end`, moves both positions there. There
/// must be room at `to` for everything up to `end`, and for 16 bytes more.
inline void copyUpToJsonEscapable(const char*& from, const char* end, char*& to) {
#ifdef __SSE2__
    if (detail::copyBlocks(from, end, to, detail::escapableBits)) return;
#endif
    while (from != end && !isJsonEscapable(*from)) *to++ = *from++;
}

/// Copies up to the first reverse solidus or `end`, moves both positions there. There must be room
/// at `to` for everything up to `end`, of which all may be overwritten.
inline void copyUpToEscape(const char*& from, const char* end, char*& to) {
#ifdef __SSE2__
    const auto isEscape = [](__m128i block) {
        return detail::bitsOf(detail::equalTo(block, '\\'));
    };
    if (detail::copyBlocks(from, end, to, isEscape)) return;
#endif
    while (from != end && *from != '\\') *to++ = *from++;
}

}  // namespace kelto
