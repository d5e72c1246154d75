#pragma once

#include <compare>
#include <cstdint>
#include <optional>

namespace kelto {

/// A moment: seconds since 1970-01-01 00:00:00 UTC in double precision, kept and compared exactly.
struct Date {
    double secondsSince1970 = 0;

    /// From a count of milliseconds, divided by 1000.0 in double precision.
    [[nodiscard]] static Date fromMilliseconds(double milliseconds) {
        return {milliseconds / 1000.0};
    }
    /// Seconds times 1000, rounded to the nearest integer with halves away from zero; none when the
    /// result is not finite or does not fit a signed 64-bit integer.
    [[nodiscard]] std::optional<std::int64_t> representableMilliseconds() const;
    /// The same for a caller that has made sure: a moment that cannot be represented is a bug and
    /// stops the process.
    [[nodiscard]] std::int64_t milliseconds() const;

    friend auto operator<=>(const Date&, const Date&) = default;
};

}  // namespace kelto
