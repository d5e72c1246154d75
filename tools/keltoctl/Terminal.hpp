#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelto::ctl {

enum class ColourWish : std::uint8_t { automatic, always, never };

/// How text for people is laid out.
struct Appearance {
    std::optional<std::size_t> width{};  ///< columns of a line; none: as many as it takes
    bool isColoured = false;
};

/// Of standard output. Its width is the terminal's, else COLUMNS. Unless wished otherwise it has
/// colours on a terminal, but not with NO_COLOR (https://no-color.org) or on a dumb one.
[[nodiscard]] Appearance standardAppearance(ColourWish wish);

/// How wide the terminal behind a descriptor is; none when it is no terminal, or does not say.
[[nodiscard]] std::optional<std::size_t> terminalWidth(int descriptor);

enum class Style : std::uint8_t { plain, strong, faint, label, tag, star };

/// A line put together from cells, as long as there is room for them.
class TerminalLine {
public:
    explicit TerminalLine(const Appearance& appearance) : appearance_(appearance) {}

    /// Adds a text that is terminalSafe; what does not fit on the line is cut off, with "…" as the
    /// last column.
    void add(std::string_view text, Style style = Style::plain);
    /// Adds blanks up to that column. Nobody sees them at the end of a line: they are left out.
    void advanceTo(std::size_t column);

    [[nodiscard]] std::size_t column() const { return used_ + owedBlanks_; }
    /// The line with its line break.
    [[nodiscard]] std::string text() const { return text_ + "\n"; }

private:
    const Appearance& appearance_;
    std::string text_;
    std::size_t used_ = 0;
    std::size_t owedBlanks_ = 0;
    bool isFull_ = false;
};

}  // namespace kelto::ctl
