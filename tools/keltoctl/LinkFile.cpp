#include "tools/keltoctl/LinkFile.hpp"

#include "kelto/foundation/Text.hpp"

namespace kelto::ctl {

namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The text after `mark`; none when there is no mark.
std::optional<std::string_view> after(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    if (at == std::string_view::npos) return std::nullopt;
    return text.substr(at + mark.size());
}

/// The value of `key` in the section "[section]" of an INI text; letter case of both counts not.
std::optional<std::string> valueIn(std::string_view text,
                                   std::string_view section,
                                   std::string_view key) {
    bool isInSection = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.starts_with('[')) {
            isInSection = lowerCased(line) == lowerCased("[" + std::string(section) + "]");
        } else if (isInSection) {
            const std::size_t equals = line.find('=');
            if (equals == std::string_view::npos) continue;
            if (lowerCased(trimmed(line.substr(0, equals))) == lowerCased(key))
                return std::string(trimmed(line.substr(equals + 1)));
        }
    }
    return std::nullopt;
}

std::optional<LinkFile> linkUnlessEmpty(std::optional<std::string> url, std::string title) {
    if (!url || url->empty()) return std::nullopt;
    return LinkFile{*std::move(url), std::move(title)};
}

}  // namespace

std::optional<LinkFile> readWebloc(std::string_view text) {
    const auto rest = after(text, "<key>URL</key>");
    const auto value = rest ? after(*rest, "<string>") : std::nullopt;
    // Only blanks may stand between the key and its value: else it is another key's.
    if (!value || !trimmed(rest->substr(0, rest->find("<string>"))).empty()) return std::nullopt;
    const std::size_t end = value->find("</string>");
    if (end == std::string_view::npos) return std::nullopt;
    std::string url(trimmed(value->substr(0, end)));
    url = replacingAll(url, "&lt;", "<");
    url = replacingAll(url, "&gt;", ">");
    url = replacingAll(url, "&quot;", "\"");
    url = replacingAll(url, "&apos;", "'");
    url = replacingAll(url, "&amp;", "&");  // last, so that nothing is decoded twice
    return linkUnlessEmpty(url, "");
}

std::optional<LinkFile> readInternetShortcut(std::string_view text) {
    return linkUnlessEmpty(valueIn(text, "InternetShortcut", "URL"), "");
}

std::optional<LinkFile> readDesktopLink(std::string_view text) {
    constexpr std::string_view section = "Desktop Entry";
    if (valueIn(text, section, "Type") != "Link") return std::nullopt;
    return linkUnlessEmpty(valueIn(text, section, "URL"),
                           valueIn(text, section, "Name").value_or(""));
}

}  // namespace kelto::ctl
