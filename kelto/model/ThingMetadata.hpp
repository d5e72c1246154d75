#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelto {

/// Facts about an item that have no column of their own; each may be unknown. A plain value, stored
/// in a thing as JSON text. Can be made from a few fields by name: `{.stars = 5}`.
struct ThingMetadata {
    std::optional<std::string> author{};        ///< Display name of the author.
    std::optional<std::string> authorHandle{};  ///< The author's handle on the social network.
    std::optional<std::string> siteName{};      ///< The web site a link came from.
    std::optional<std::int64_t> stars{};        ///< A repository's.
    std::optional<std::int64_t> forks{};        ///< A repository's.
    std::optional<std::string> language{};      ///< A repository's main programming language.
    std::optional<std::string> homepage{};      ///< A repository's home page, an address as text.
    std::optional<std::int64_t> width{};        ///< Pixels.
    std::optional<std::int64_t> height{};       ///< Pixels.

    /// The value of a JSON object. A missing key or null is an absent field; any key of the nine
    /// with a value of the wrong type, or a text that is not a JSON object, makes the whole value
    /// empty. Keys that are not of the nine are ignored. Never fails.
    [[nodiscard]] static ThingMetadata fromJson(std::string_view text);
    /// A compact JSON object with the keys of the fields that are present.
    [[nodiscard]] std::string json() const;

    friend bool operator==(const ThingMetadata&, const ThingMetadata&) = default;
};

}  // namespace kelto
