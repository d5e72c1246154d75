#include "tools/keltoctl/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

#include <glib.h>

#include "kelto/foundation/Text.hpp"

namespace kelto::ctl {

namespace {

constexpr gunichar emojiPresentation = 0xFE0F;
constexpr unsigned char deleteCharacter = 0x7F;
constexpr unsigned firstNoControl = 0xA0;

/// Two of them are a flag.
bool isRegionalIndicator(gunichar character) {
    return character >= 0x1F1E6 && character <= 0x1F1FF;
}

bool steersTheTerminal(gunichar character) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isBidirectional = (character >= 0x202A && character <= 0x202E) ||
                                 (character >= 0x2066 && character <= 0x2069) ||
                                 character == 0x200E || character == 0x200F || character == 0x061C;
    const bool breaksTheLine = character == 0x2028 || character == 0x2029;
    return isControl || isBidirectional || breaksTheLine || character == 0xFEFF ||
           character == 0xFFFD;
}

/// The columns of one user-perceived character: a base decides, marks add nothing.
std::size_t clusterWidth(std::string_view cluster) {
    std::size_t width = 0;
    const char* end = cluster.data() + cluster.size();
    for (const char* at = cluster.data(); at < end; at = g_utf8_next_char(at)) {
        const gunichar character = g_utf8_get_char(at);
        if (character == emojiPresentation) return 2;
        if (g_unichar_iszerowidth(character)) continue;
        if (isRegionalIndicator(character)) return 2;
        width = std::max<std::size_t>(width, g_unichar_iswide(character) ? 2 : 1);
    }
    return width;
}

/// How many bytes of the text fit into that many columns.
std::size_t prefixOfWidth(std::string_view text, std::size_t width) {
    std::size_t bytes = 0;
    std::size_t used = 0;
    while (bytes < text.size()) {
        const std::string_view cluster = graphemePrefix(text.substr(bytes), 1);
        used += clusterWidth(cluster);
        if (used > width) break;
        bytes += cluster.size();
    }
    return bytes;
}

}  // namespace

std::string terminalSafe(std::string_view text) {
    const std::string wellFormed = repairedUtf8(text);
    std::string safe;
    safe.reserve(wellFormed.size());
    const char* end = wellFormed.data() + wellFormed.size();
    for (const char* at = wellFormed.data(); at < end;) {
        const char* next = g_utf8_next_char(at);
        if (steersTheTerminal(g_utf8_get_char(at)))
            safe += '?';
        else
            safe.append(at, next);
        at = next;
    }
    return safe;
}

std::string terminalSafeJson(std::string_view json) {
    const std::string wellFormed = repairedUtf8(json);
    std::string safe;
    safe.reserve(wellFormed.size());
    for (std::size_t at = 0; at < wellFormed.size(); ++at) {
        const auto byte = static_cast<unsigned char>(wellFormed[at]);
        // U+0080 to U+009F are two bytes, of which the first is C2.
        const unsigned second =
            byte == 0xC2 ? static_cast<unsigned char>(wellFormed[at + 1]) : 0xFFU;
        if (byte != deleteCharacter && second >= firstNoControl) {
            safe += wellFormed[at];
            continue;
        }
        std::array<char, 8> escape{};
        std::snprintf(escape.data(), escape.size(), "\\u%04x", byte == 0xC2 ? second : byte);
        safe += escape.data();
        if (byte == 0xC2) ++at;
    }
    return safe;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const std::string_view cluster = graphemePrefix(text, 1);
        width += clusterWidth(cluster);
        text.remove_prefix(cluster.size());
    }
    return width;
}

std::string cutTo(std::string_view text, std::size_t width) {
    if (displayWidth(text) <= width) return std::string(text);
    if (width == 0) return "";
    return std::string(text.substr(0, prefixOfWidth(text, width - 1))) + "…";
}

std::string fitted(std::string_view text, std::size_t width) {
    std::string shown = cutTo(text, width);
    return shown.append(width - displayWidth(shown), ' ');
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    std::vector<std::string> lines;
    while (displayWidth(text) > width) {
        // One user-perceived character at least, or it would never end.
        const std::size_t most =
            std::max(prefixOfWidth(text, width), graphemePrefix(text, 1).size());
        // A blank right behind the line is as good as one in it.
        const std::size_t blank = text.substr(0, most + 1).rfind(' ');
        const bool isAtBlank = blank != std::string_view::npos && blank > 0;
        lines.emplace_back(text.substr(0, isAtBlank ? blank : most));
        text.remove_prefix(isAtBlank ? blank + 1 : most);
    }
    if (!text.empty() || lines.empty()) lines.emplace_back(text);
    return lines;
}

std::string counted(std::size_t count, std::string_view noun) {
    std::string text = std::to_string(count);
    text.append(" ").append(noun);
    return count == 1 ? text : text.append("s");
}

std::string byteCount(std::int64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    constexpr std::array units = {"kB", "MB", "GB", "TB", "PB", "EB"};
    auto amount = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; amount >= 999.95 && unit + 1 < units.size(); ++unit) amount /= 1000;
    std::array<char, 32> text{};
    std::snprintf(
        text.data(), text.size(), amount < 10 ? "%.1f %s" : "%.0f %s", amount, units[unit]);
    return text.data();
}

}  // namespace kelto::ctl
