#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "kelto/foundation/LargeMemory.hpp"

namespace kelto {

/// A text in the making, for whoever writes it byte by byte: room is asked for once for many bytes,
/// which are then written without further checks.
class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(TextBuffer&& other) noexcept
        : small_(std::move(other.small_)),
          large_(std::exchange(other.large_, std::nullopt)),
          start_(std::exchange(other.start_, nullptr)),
          size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)) {}
    TextBuffer& operator=(TextBuffer&& other) noexcept {
        std::swap(small_, other.small_);
        std::swap(large_, other.large_);
        std::swap(start_, other.start_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }
    ~TextBuffer() = default;

    /// One that writes into somebody's memory as long as there is room in it.
    [[nodiscard]] static TextBuffer within(char* start, std::size_t size) {
        TextBuffer text;
        text.start_ = start;
        text.capacity_ = size;
        return text;
    }

    /// Where the next bytes go, with room for `size` of them. Good until the next call.
    [[nodiscard]] char* room(std::size_t size) {
        if (capacity_ - size_ < size || start_ == nullptr) grow(size);
        return start_ + size_;
    }
    /// Makes room for so many bytes more, when it is known how much will come.
    void reserve(std::size_t size) { (void)room(size); }
    /// The text now ends at `end`, which lies in the room that was asked for last.
    void commit(const char* end) { size_ = static_cast<std::size_t>(end - start_); }

    void append(std::string_view text) {
        char* const to = room(text.size());
        if (!text.empty()) std::memcpy(to, text.data(), text.size());
        commit(to + text.size());
    }
    void append(char c) {
        char* const to = room(1);
        *to = c;
        commit(to + 1);
    }

    [[nodiscard]] std::string_view view() const { return {start_, size_}; }
    [[nodiscard]] std::size_t size() const { return size_; }
    /// How many bytes still go into the memory that is there.
    [[nodiscard]] std::size_t roomLeft() const { return capacity_ - size_; }
    /// Only its first `size` bytes are left; the memory stays.
    void truncate(std::size_t size) { size_ = size; }
    /// Empty again; the memory stays.
    void clear() { truncate(0); }

private:
    void grow(std::size_t size);

    // Where the text lies, whichever it is.
    std::unique_ptr<char[]> small_;
    std::optional<LargeMemory> large_;
    char* start_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace kelto
