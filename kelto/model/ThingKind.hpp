#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/Url.hpp"

namespace kelto {

/// What an item of the library is.
enum class ThingKind : std::uint8_t { image, video, link, tweet, github, quote, document, note };

/// All kinds in the order in which they are shown.
inline constexpr std::array allThingKinds{ThingKind::image,
                                          ThingKind::video,
                                          ThingKind::link,
                                          ThingKind::tweet,
                                          ThingKind::github,
                                          ThingKind::quote,
                                          ThingKind::document,
                                          ThingKind::note};

/// The text under which a kind is stored and sent; it never changes.
[[nodiscard]] std::string_view rawValue(ThingKind kind);
/// The kind of exactly that raw value (letter case counts), or none.
[[nodiscard]] std::optional<ThingKind> thingKind(std::string_view rawValue);

[[nodiscard]] std::string_view title(ThingKind kind);        ///< "Image", "Repository", …
[[nodiscard]] std::string_view pluralTitle(ThingKind kind);  ///< "Images", "Repositories", …
[[nodiscard]] std::string_view systemImage(
    ThingKind kind);                                      ///< Name of an icon of the system's set.
[[nodiscard]] double defaultAspectRatio(ThingKind kind);  ///< Width divided by height.
[[nodiscard]] bool isFileBacked(ThingKind kind);
[[nodiscard]] bool isLinkBacked(ThingKind kind);

/// The kind of an item saved from a web address: link, tweet or github.
[[nodiscard]] ThingKind classify(const Url& url);
/// The kind of an item saved from a file: image, video or document.
[[nodiscard]] ThingKind classify(const ContentType& type);

}  // namespace kelto
