#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

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

}  // namespace kelto
