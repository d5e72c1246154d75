#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace kelto {

/// A text in the making, for whoever writes it byte by byte: room is asked for once for many bytes,
/// which are then written without further checks.
class TextBuffer {
public:
    /// Where the next bytes go, with room for `size` of them. Good until the next call.
    [[nodiscard]] char* room(std::size_t size) {
        if (capacity_ - size_ < size) grow(size);
        return bytes_.get() + size_;
    }
    /// The text now ends at `end`, which lies in the room that was asked for last.
    void commit(const char* end) { size_ = static_cast<std::size_t>(end - bytes_.get()); }

    void append(std::string_view text) {
        char* const to = room(text.size());
        std::memcpy(to, text.data(), text.size());
        commit(to + text.size());
    }
    void append(char c) {
        char* const to = room(1);
        *to = c;
        commit(to + 1);
    }

    [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }
    [[nodiscard]] std::size_t size() const { return size_; }
    /// Empty again; the memory stays.
    void clear() { size_ = 0; }

private:
    void grow(std::size_t size);

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace kelto
