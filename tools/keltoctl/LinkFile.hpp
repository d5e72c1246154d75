#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// A web address that somebody keeps as a file.
struct LinkFile {
    std::string url;
    std::string title;  ///< empty when the file gives none
};

/// What a ".webloc" (an XML property list with the key "URL") says.
[[nodiscard]] std::optional<LinkFile> readWebloc(std::string_view text);
/// What a ".url" ([InternetShortcut], URL=…) says.
[[nodiscard]] std::optional<LinkFile> readInternetShortcut(std::string_view text);
/// What a ".desktop" ([Desktop Entry], Type=Link, URL=…, Name=…) says; none for other types.
[[nodiscard]] std::optional<LinkFile> readDesktopLink(std::string_view text);

}  // namespace kelto::ctl
