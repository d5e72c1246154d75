#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kelto/AppleBridge/RecordKey.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// One value of a record, as it was read: 16 bytes, borrowing from the request.
class RecordValue {
public:
    RecordValue() = default;
    static RecordValue string(std::string_view text);
    static RecordValue number(const JsonNumberValue& number);
    static RecordValue boolean(bool value);
    static RecordValue identifiers(std::span<const Uuid> identifiers);
    /// Something that no reader looks into: null, an object, a number beyond a double's range.
    static RecordValue other();

    [[nodiscard]] std::optional<std::string_view> asString() const;
    [[nodiscard]] std::optional<std::int64_t> asInteger() const;
    [[nodiscard]] std::optional<double> asNumber() const;
    [[nodiscard]] std::optional<bool> asBoolean() const;
    [[nodiscard]] std::span<const Uuid> asIdentifiers() const;  ///< Empty for other kinds.

private:
    enum class Kind : std::uint8_t { absent, other, string, integer, real, boolean, identifiers };

    union {
        const char* text_ = nullptr;
        const Uuid* identifiers_;
        std::int64_t integer_;
        double real_;
        bool boolean_;
    };
    std::uint32_t length_ = 0;
    Kind kind_ = Kind::absent;
};

/// One record of the host, typed by key. Looked into only through its readers, which are forgiving:
/// a missing value, or one of another type, reads as the reader's default and never fails. What it
/// hands out is borrowed from the request.
class Record {
public:
    void set(RecordKey key, RecordValue value) { values_[static_cast<std::size_t>(key)] = value; }

    /// The text, or the empty text.
    [[nodiscard]] std::string_view string(RecordKey key) const {
        return value(key).asString().value_or(std::string_view());
    }
    [[nodiscard]] std::optional<std::string_view> optionalString(RecordKey key) const {
        return value(key).asString();
    }
    /// Milliseconds since 1970 as a moment; 1970-01-01 00:00 UTC when there is no number.
    [[nodiscard]] Date date(RecordKey key) const {
        return Date::fromMilliseconds(value(key).asNumber().value_or(0));
    }
    [[nodiscard]] std::optional<Date> optionalDate(RecordKey key) const;
    /// An integral number of the signed 64-bit range, or 0.
    [[nodiscard]] std::int64_t integer(RecordKey key) const {
        return value(key).asInteger().value_or(0);
    }
    [[nodiscard]] double number(RecordKey key, double otherwise) const {
        return value(key).asNumber().value_or(otherwise);
    }
    /// True only for JSON's true.
    [[nodiscard]] bool boolean(RecordKey key) const {
        return value(key).asBoolean().value_or(false);
    }
    [[nodiscard]] std::optional<Uuid> optionalUUID(RecordKey key) const;
    /// The identifiers of a list of texts, in its order; elements that are no identifier are left
    /// out.
    [[nodiscard]] std::span<const Uuid> identifiers(RecordKey key) const {
        return value(key).asIdentifiers();
    }

private:
    [[nodiscard]] const RecordValue& value(RecordKey key) const {
        return values_[static_cast<std::size_t>(key)];
    }

    std::array<RecordValue, recordKeyCount> values_;
};

}  // namespace kelto
