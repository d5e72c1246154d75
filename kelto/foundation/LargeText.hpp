#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "kelto/foundation/TextBuffer.hpp"

namespace kelto {

/// A text that may be as large as a whole library: it is moved and never copied by the way, keeps
/// its place in memory when it is moved, and gives its memory back to the system. Ends with a NUL
/// that does not count.
class LargeText {
public:
    LargeText(std::string_view text) : LargeText(copyOf(text)) {}
    LargeText(const std::string& text) : LargeText(std::string_view(text)) {}
    LargeText(const char* text) : LargeText(std::string_view(text)) {}
    LargeText(TextBuffer text) : text_(std::move(text)) {
        text_.append('\0');
        size_ = text_.size() - 1;
    }
    LargeText(LargeText&&) = default;
    LargeText& operator=(LargeText&&) = default;
    ~LargeText() = default;

    [[nodiscard]] std::string_view view() const { return text_.view().substr(0, size_); }
    [[nodiscard]] const char* cString() const { return text_.view().data(); }
    [[nodiscard]] std::size_t size() const { return size_; }

private:
    static TextBuffer copyOf(std::string_view text) {
        TextBuffer copy;
        copy.reserve(text.size() + 1);
        copy.append(text);
        return copy;
    }

    TextBuffer text_;
    std::size_t size_ = 0;
};

}  // namespace kelto
