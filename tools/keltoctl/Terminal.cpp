#include "tools/keltoctl/Terminal.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

/// Terminals that do not say how wide they are have been this wide for as long as there are any.
constexpr std::size_t usualWidth = 80;

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

std::optional<std::size_t> widthByEnvironment() {
    const std::string_view columns = variable("COLUMNS");
    std::size_t width = 0;
    const char* end = columns.data() + columns.size();
    const auto [stop, error] = std::from_chars(columns.data(), end, width);
    if (error != std::errc() || stop != end || width == 0) return std::nullopt;
    return width;
}

constexpr std::string_view beginOf(Style style) {
    switch (style) {
        case Style::plain:
            break;
        case Style::strong:
            return "\x1b[1m";
        case Style::faint:
            return "\x1b[2m";
        case Style::label:
            return "\x1b[34m";
        case Style::tag:
            return "\x1b[36m";
        case Style::star:
            return "\x1b[33m";
    }
    return {};
}

}  // namespace

std::optional<std::size_t> terminalWidth(int descriptor) {
    struct winsize size {};
    if (::isatty(descriptor) != 1 || ::ioctl(descriptor, TIOCGWINSZ, &size) != 0) return {};
    return size.ws_col > 0 ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

Appearance standardAppearance(ColourWish wish) {
    const bool isTerminal = ::isatty(STDOUT_FILENO) == 1;
    Appearance appearance;
    appearance.width = terminalWidth(STDOUT_FILENO);
    if (!appearance.width) appearance.width = widthByEnvironment();
    if (!appearance.width && isTerminal) appearance.width = usualWidth;
    appearance.isColoured =
        wish == ColourWish::always || (wish == ColourWish::automatic && isTerminal &&
                                       variable("NO_COLOR").empty() && variable("TERM") != "dumb");
    return appearance;
}

void TerminalLine::add(std::string_view text, Style style) {
    if (isFull_ || text.empty()) return;
    const std::size_t blanks = owedBlanks_;
    std::string shown(text);
    if (appearance_.width) {
        const std::size_t room = *appearance_.width - std::min(*appearance_.width, used_ + blanks);
        if (displayWidth(text) > room) {
            isFull_ = true;
            shown = cutTo(text, room);
            if (shown.empty()) return;
        }
    }
    text_.append(blanks, ' ');
    used_ += blanks + displayWidth(shown);
    owedBlanks_ = 0;
    const std::string_view begin = appearance_.isColoured ? beginOf(style) : std::string_view();
    text_.append(begin).append(shown);
    if (!begin.empty()) text_ += "\x1b[0m";
}

void TerminalLine::advanceTo(std::size_t column) {
    if (column > used_) owedBlanks_ = std::max(owedBlanks_, column - used_);
}

}  // namespace kelto::ctl
