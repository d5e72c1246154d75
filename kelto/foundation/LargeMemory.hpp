#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace kelto {

// A large piece of memory is fresh memory, whose first touch costs more than writing it: where the
// system can, it is given in large pages.

/// Uninitialised memory that goes back to the system with this object, instead of staying with the
/// heap: for what an exchange needs only for a moment.
class LargeMemory {
public:
    /// The least that is worth it.
    static constexpr std::size_t usualBytes = std::size_t{2} * 1024 * 1024;

    /// Throws std::bad_alloc.
    explicit LargeMemory(std::size_t size);
    LargeMemory(LargeMemory&& other) noexcept
        : start_(std::exchange(other.start_, nullptr)), size_(other.size_) {}
    LargeMemory& operator=(LargeMemory&&) = delete;
    ~LargeMemory();

    [[nodiscard]] void* start() const { return start_; }
    [[nodiscard]] std::size_t size() const { return size_; }

private:
    void* start_;
    std::size_t size_;
};

/// Reserves room in an empty text that is to become large.
void reserveLarge(std::string& text, std::size_t size);

/// A copy of a text that may be large.
[[nodiscard]] std::string largeCopy(std::string_view text);

}  // namespace kelto
