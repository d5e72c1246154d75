#include "tools/keltoctl/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

#include <glib.h>

#include "kelto/foundation/Text.hpp"

namespace kelto::ctl {

namespace {

constexpr gunichar emojiPresentation = 0xFE0F;

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
        width = std::max<std::size_t>(width, g_unichar_iswide(character) ? 2 : 1);
    }
    return width;
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

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const std::string_view cluster = graphemePrefix(text, 1);
        width += clusterWidth(cluster);
        text.remove_prefix(cluster.size());
    }
    return width;
}

std::string fitted(std::string_view text, std::size_t width) {
    const std::size_t needed = displayWidth(text);
    if (needed <= width) return std::string(text).append(width - needed, ' ');
    if (width == 0) return "";
    std::string shown;
    std::size_t used = 0;
    while (!text.empty()) {
        const std::string_view cluster = graphemePrefix(text, 1);
        if (used + clusterWidth(cluster) > width - 1) break;
        used += clusterWidth(cluster);
        shown += cluster;
        text.remove_prefix(cluster.size());
    }
    shown += "…";
    return shown.append(width - 1 - used, ' ');
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
