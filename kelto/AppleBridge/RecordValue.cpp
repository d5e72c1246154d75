#include "kelto/AppleBridge/RecordValue.hpp"

namespace kelto {

RecordValue RecordValue::string(std::string_view text) {
    RecordValue value;
    value.kind_ = Kind::string;
    value.text_ = text.data();
    value.length_ = static_cast<std::uint32_t>(text.size());
    return value;
}

RecordValue RecordValue::number(const JsonNumberValue& number) {
    RecordValue value;
    if (number.integer) {
        value.kind_ = Kind::integer;
        value.integer_ = *number.integer;
    } else if (number.real) {
        value.kind_ = Kind::real;
        // Zero has no sign here: the store could not keep it, and no fingerprint may depend on it.
        value.real_ = *number.real + 0.0;
    } else {
        value.kind_ = Kind::other;
    }
    return value;
}

RecordValue RecordValue::boolean(bool boolean) {
    RecordValue value;
    value.kind_ = Kind::boolean;
    value.boolean_ = boolean;
    return value;
}

RecordValue RecordValue::identifiers(std::span<const Uuid> identifiers) {
    RecordValue value;
    value.kind_ = Kind::identifiers;
    value.identifiers_ = identifiers.data();
    value.length_ = static_cast<std::uint32_t>(identifiers.size());
    return value;
}

RecordValue RecordValue::other() {
    RecordValue value;
    value.kind_ = Kind::other;
    return value;
}

std::optional<std::string_view> RecordValue::asString() const {
    if (kind_ != Kind::string) return std::nullopt;
    return std::string_view(text_, length_);
}

std::optional<std::int64_t> RecordValue::asInteger() const {
    if (kind_ != Kind::integer) return std::nullopt;
    return integer_;
}

std::optional<double> RecordValue::asNumber() const {
    if (kind_ == Kind::integer) return static_cast<double>(integer_);
    if (kind_ == Kind::real) return real_;
    return std::nullopt;
}

std::optional<bool> RecordValue::asBoolean() const {
    if (kind_ != Kind::boolean) return std::nullopt;
    return boolean_;
}

std::span<const Uuid> RecordValue::asIdentifiers() const {
    if (kind_ != Kind::identifiers) return {};
    return {identifiers_, length_};
}

}  // namespace kelto
