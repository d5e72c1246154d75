#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "kelto/foundation/TextBuffer.hpp"

namespace kelto {

/// A text that may be as large as a whole library, and never changes: copies share its bytes, which
/// keep their place in memory and go back to the system with the last copy. Ends with a NUL that
/// does not count. Different copies may be used by different threads.
class LargeText {
public:
    LargeText(std::string_view text) : LargeText(copyOf(text)) {}
    LargeText(const std::string& text) : LargeText(std::string_view(text)) {}
    LargeText(const char* text) : LargeText(std::string_view(text)) {}
    LargeText(TextBuffer text) {
        text.append('\0');
        text_ = std::make_shared<const TextBuffer>(std::move(text));
    }

    [[nodiscard]] std::string_view view() const { return text_->view().substr(0, size()); }
    [[nodiscard]] const char* cString() const { return text_->view().data(); }
    [[nodiscard]] std::size_t size() const { return text_->size() - 1; }

private:
    static TextBuffer copyOf(std::string_view text) {
        TextBuffer copy;
        copy.reserve(text.size() + 1);
        copy.append(text);
        return copy;
    }

    std::shared_ptr<const TextBuffer> text_;  // none in what was moved from
};

}  // namespace kelto
