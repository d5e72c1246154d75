#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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
    /// `number` is the text's own: see number().
    LargeText(TextBuffer text, std::uint64_t number = 0) {
        text.append('\0');
        text_ = std::make_shared<Shared>(std::move(text), number);
    }

    [[nodiscard]] std::string_view view() const { return text_->buffer.view().substr(0, size()); }
    [[nodiscard]] const char* cString() const { return text_->buffer.view().data(); }
    [[nodiscard]] std::size_t size() const { return text_->buffer.size() - 1; }
    /// Two texts with the same number are the same; 0 is no number.
    [[nodiscard]] std::uint64_t number() const { return text_->number; }

    /// The memory of the text, with the text in it, from whoever alone has it: nothing may be asked
    /// of this object then. Else none, and nothing has happened. No other thread may have had a
    /// copy.
    [[nodiscard]] std::optional<TextBuffer> release() {
        if (text_.use_count() != 1) return std::nullopt;
        TextBuffer buffer = std::move(text_->buffer);
        text_.reset();
        buffer.truncate(buffer.size() - 1);
        return buffer;
    }

private:
    struct Shared {
        Shared(TextBuffer text, std::uint64_t textNumber)
            : buffer(std::move(text)), number(textNumber) {}

        TextBuffer buffer;
        std::uint64_t number;
    };

    static TextBuffer copyOf(std::string_view text) {
        TextBuffer copy;
        copy.reserve(text.size() + 1);
        copy.append(text);
        return copy;
    }

    std::shared_ptr<Shared> text_;  // none in what was moved from
};

}  // namespace kelto
