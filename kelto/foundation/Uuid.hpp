#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kelto {

/// A UUID (RFC 9562), compared by its bytes, which is also the order of its lower-case text.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    static constexpr std::size_t textLength = 36;

    /// The strict 36-character 8-4-4-4-12 form, hexadecimal digits in any letter case; anything
    /// else (braces, blanks, no hyphens) is none.
    [[nodiscard]] static std::optional<Uuid> parse(std::string_view text);

    [[nodiscard]] std::string lowerCaseText() const;
    [[nodiscard]] std::string upperCaseText() const;
    void appendLowerCase(std::string& text) const;
    /// Writes the 36 characters to `to`.
    void putLowerCase(char* to) const;

    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

}  // namespace kelto

template <>
struct std::hash<kelto::Uuid> {
    std::size_t operator()(const kelto::Uuid& uuid) const noexcept {
        // Hosts may number their items: every byte has to reach the low bits, which choose the
        // bucket. The finisher is that of MurmurHash3.
        std::uint64_t halves[2];
        std::memcpy(halves, uuid.bytes.data(), sizeof halves);
        std::uint64_t mixed = halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ULL);
        mixed = (mixed ^ (mixed >> 33)) * 0xFF51AFD7ED558CCDULL;
        mixed = (mixed ^ (mixed >> 33)) * 0xC4CEB9FE1A85EC53ULL;
        return static_cast<std::size_t>(mixed ^ (mixed >> 33));
    }
};
