#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace kelto {

/// Takes an input apart into numbers and texts; behind its end there are zeros and empty texts.
class InputReader {
public:
    explicit InputReader(std::string_view input) : rest_(input) {}

    [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }
    [[nodiscard]] std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto value = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }
    /// Of so many bytes, the first one the highest.
    [[nodiscard]] std::uint64_t number(int bytes) {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i) value = value << 8 | byte();
        return value;
    }
    [[nodiscard]] std::string_view line() { return until('\n'); }
    /// Up to the next such byte, which is passed over, or to the end.
    [[nodiscard]] std::string_view until(char mark) {
        const std::size_t end = std::min(rest_.find(mark), rest_.size());
        const std::string_view text = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return text;
    }
    [[nodiscard]] std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

}  // namespace kelto
