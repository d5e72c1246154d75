#pragma once

#include <cstdint>
#include <string_view>

namespace kelto {

/// A number that tells texts of the same length apart, within this process: each process has a
/// secret of its own, drawn when it first hashes. Whatever the texts are, as long as nobody chooses
/// them by that secret, two different ones agree with a probability of less than 2^-60; texts of
/// different lengths may agree. Reads each byte once, at the speed of the memory.
///
/// It is the sum that RFC 4418 (UMAC, section 5.2) calls NH, with words of 64 bits, over blocks of
/// 1 KiB. The sums of a longer text are hashed in turn, each time under another key.
struct TextHash {
    std::uint64_t low = 0;
    std::uint64_t high = 0;

    /// Any thread.
    [[nodiscard]] static TextHash of(std::string_view text) noexcept;

    friend bool operator==(const TextHash&, const TextHash&) = default;
};

}  // namespace kelto
