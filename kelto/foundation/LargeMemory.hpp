#pragma once

#include <cstddef>
#include <utility>

namespace kelto {

/// Uninitialised memory that goes back to the system with this object, instead of staying with the
/// heap: for what an exchange needs only for a moment. Fresh memory is slow at its first touch, so,
/// where the system can, it is given in large pages, and a little of it is kept (SpareMemory).
class LargeMemory {
public:
    /// A large page: what is taken is a multiple of it.
    static constexpr std::size_t usualBytes = std::size_t{2} * 1024 * 1024;
    /// The least that is worth one.
    static constexpr std::size_t leastBytes = std::size_t{256} * 1024;

    /// Throws std::bad_alloc.
    explicit LargeMemory(std::size_t size);
    /// The same without an object: memory for so many bytes, and the end of it. `size` must be the
    /// same both times.
    [[nodiscard]] static void* take(std::size_t size);
    static void giveBack(void* start, std::size_t size) noexcept;
    LargeMemory(LargeMemory&& other) noexcept
        : start_(std::exchange(other.start_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    LargeMemory& operator=(LargeMemory&& other) noexcept {
        std::swap(start_, other.start_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~LargeMemory();

    [[nodiscard]] void* start() const { return start_; }
    [[nodiscard]] std::size_t size() const { return size_; }

private:
    void* start_;
    std::size_t size_;
};

}  // namespace kelto
