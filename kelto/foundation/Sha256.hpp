#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/foundation/Bytes.hpp"

namespace kelto {

/// A SHA-256 digest (FIPS 180-4), compared by value. Bytes of zero are an ordinary digest, not
/// "none".
struct Digest {
    std::array<std::uint8_t, 32> bytes{};

    static constexpr std::size_t hexLength = 64;

    [[nodiscard]] std::string hex() const;    ///< 64 lower-case hexadecimal digits.
    void putHex(char* to) const;              ///< Writes them to `to`.
    void appendHex(std::string& text) const;  ///< The same, at the end of `text`.
    [[nodiscard]] static std::optional<Digest> parse(
        std::string_view hex);  ///< 64 digits, any case.
    friend auto operator<=>(const Digest&, const Digest&) = default;
};

/// SHA-256 over bytes that arrive in pieces. Not for use by two threads at once.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;

    void update(Bytes bytes);
    /// The digest of everything given so far; afterwards the object is as new.
    [[nodiscard]] Digest finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The digest of one byte string. Reuses one context per thread.
[[nodiscard]] Digest sha256(Bytes bytes);
[[nodiscard]] Digest sha256(std::string_view text);

}  // namespace kelto

template <>
struct std::hash<kelto::Digest> {
    std::size_t operator()(const kelto::Digest& digest) const noexcept;
};
