#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/JsonToken.hpp"

namespace kelto {

namespace {

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

const char* skipDigits(const char* at, const char* end) {
    while (at != end && isDigit(*at)) ++at;
    return at;
}

/// A token as sign, digits and a power of ten: the digits d1 d2 ... dn, without zeros in front and
/// at the end, times 10 to the `exponent`. Keeps the place of the digits only, as there may be
/// millions.
class Decimal {
public:
    explicit Decimal(std::string_view token) {
        const char* at = token.data();
        const char* const end = at + token.size();
        negative_ = *at == '-';
        if (negative_) ++at;
        first_ = at;
        point_ = skipDigits(at, end);
        last_ = point_;
        if (point_ != end && *point_ == '.') last_ = skipDigits(point_ + 1, end);
        // The power of the digit that stands last, then without the zeros around.
        exponent_ = writtenExponent(last_, end) - (last_ == point_ ? 0 : last_ - point_ - 1);
        while (first_ != last_ && !isNonzeroDigit(*first_)) ++first_;
        while (first_ != last_ && !isNonzeroDigit(last_[-1])) {
            --last_;
            if (last_ != point_) ++exponent_;
        }
    }

    [[nodiscard]] bool isNegative() const { return negative_; }
    [[nodiscard]] bool isZero() const { return first_ == last_; }
    [[nodiscard]] std::int64_t exponent() const { return exponent_; }
    [[nodiscard]] std::int64_t digitCount() const {
        const bool hasPoint = first_ < point_ && point_ < last_;
        return last_ - first_ - (hasPoint ? 1 : 0);
    }
    /// The first digits, at most `limit`, written to `to`.
    char* copyDigits(char* to, std::int64_t limit) const {
        for (const char* at = first_; at != last_ && limit > 0; ++at) {
            if (at == point_) continue;
            *to++ = *at;
            --limit;
        }
        return to;
    }

private:
    static bool isNonzeroDigit(char c) { return c >= '1' && c <= '9'; }

    /// Large exponents stop at a bound that no count of digits can outweigh.
    static std::int64_t writtenExponent(const char* at, const char* end) {
        constexpr std::int64_t bound = 100'000'000'000'000'000;
        if (at == end) return 0;
        ++at;  // the e
        const bool negative = *at == '-';
        if (negative || *at == '+') ++at;
        std::int64_t exponent = 0;
        for (; at != end && exponent < bound; ++at) exponent = exponent * 10 + (*at - '0');
        exponent = std::min(exponent, bound);
        return negative ? -exponent : exponent;
    }

    const char* first_;
    const char* point_;  ///< the point, or where it would stand
    const char* last_;
    std::int64_t exponent_;
    bool negative_;
};

std::optional<std::int64_t> exactInteger(const Decimal& decimal) {
    if (decimal.isZero()) return 0;
    constexpr std::int64_t mostDigits = 19;  // fits 64 bits without a sign, whatever the digits
    if (decimal.exponent() < 0 || decimal.exponent() > mostDigits ||
        decimal.digitCount() + decimal.exponent() > mostDigits) {
        return std::nullopt;
    }
    std::array<char, mostDigits> digits;
    char* end = decimal.copyDigits(digits.data(), mostDigits);
    end = std::fill_n(end, decimal.exponent(), '0');
    std::uint64_t magnitude = 0;
    std::from_chars(digits.data(), end, magnitude);
    constexpr std::uint64_t limit = std::uint64_t{1} << 63;
    if (magnitude > limit || (magnitude == limit && !decimal.isNegative())) return std::nullopt;
    return static_cast<std::int64_t>(decimal.isNegative() ? 0 - magnitude : magnitude);
}

/// The nearest double of a token that std::from_chars is not trusted with: it takes exponents
/// beyond some hundred thousands for each other, and tells overflow and underflow with one answer.
std::optional<double> nearestDoubleOfAny(const Decimal& decimal) {
    const double sign = decimal.isNegative() ? -1.0 : 1.0;
    // Where the first digit stands: 10^308 is the largest power that is finite, and half of the
    // smallest double lies above 10^-324.
    const std::int64_t power = decimal.exponent() + decimal.digitCount() - 1;
    if (decimal.isZero() || power < -324) return sign * 0.0;
    if (power > 308) return std::nullopt;

    // No double and no middle between two has more than 768 digits: beyond them it matters only
    // whether there is anything.
    constexpr std::int64_t decidingDigits = 780;
    std::array<char, decidingDigits + 16> text;
    char* end = decimal.copyDigits(text.data(), decidingDigits);
    std::int64_t exponent = decimal.exponent();
    if (decimal.digitCount() > decidingDigits) {
        *end++ = '1';
        exponent += decimal.digitCount() - decidingDigits - 1;
    }
    *end++ = 'e';
    end = std::to_chars(end, text.data() + text.size(), exponent).ptr;
    double value = 0;
    const auto read = std::from_chars(text.data(), end, value);
    if (read.ec == std::errc::result_out_of_range) {
        if (power > 0) return std::nullopt;
        return sign * 0.0;
    }
    if (std::isinf(value)) return std::nullopt;
    return sign * value;
}

std::optional<double> nearestDouble(std::string_view token, const Decimal& decimal) {
    // So few digits cannot make up for an exponent that was misread.
    constexpr std::size_t trustedLength = 40;
    if (token.size() <= trustedLength) {
        double value = 0;
        const auto read = std::from_chars(token.data(), token.data() + token.size(), value);
        if (read.ec == std::errc() && std::isfinite(value)) return value;
    }
    return nearestDoubleOfAny(decimal);
}

/// The most frequent numbers: integers so short that nothing about them needs care.
std::optional<std::int64_t> shortInteger(std::string_view token) {
    constexpr std::size_t safeLength = 18;
    if (token.size() > safeLength) return std::nullopt;
    const bool negative = token.front() == '-';
    std::int64_t value = 0;
    for (const char c : token.substr(negative ? 1 : 0)) {
        if (!isDigit(c)) return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return negative ? -value : value;
}

}  // namespace

JsonTokenExtent scanJsonNumber(const char* at, const char* end) {
    constexpr const char* digitMissing = "a digit is missing in a number";
    if (*at == '-') ++at;
    if (at == end || !isDigit(*at)) return {at, digitMissing};
    const bool leadingZero = *at == '0';
    ++at;
    if (leadingZero && at != end && isDigit(*at)) {
        return {at, "a number has a zero in front of its digits"};
    }
    at = skipDigits(at, end);
    if (at != end && *at == '.') {
        ++at;
        if (at == end || !isDigit(*at)) return {at, digitMissing};
        at = skipDigits(at, end);
    }
    if (at != end && (*at == 'e' || *at == 'E')) {
        ++at;
        if (at != end && (*at == '+' || *at == '-')) ++at;
        if (at == end || !isDigit(*at)) return {at, digitMissing};
        at = skipDigits(at, end);
    }
    return {at, nullptr};
}

JsonNumberValue readJsonNumber(std::string_view token) {
    if (const std::optional<std::int64_t> integer = shortInteger(token)) {
        const bool minusZero = *integer == 0 && token.front() == '-';
        return {integer, minusZero ? -0.0 : static_cast<double>(*integer)};
    }
    const Decimal decimal(token);
    return {exactInteger(decimal), nearestDouble(token, decimal)};
}

}  // namespace kelto
