#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kelto {

class JsonValue;
/// Members in the order of their first appearance; a key stands once, its last value holds.
using JsonMembers = std::vector<std::pair<std::string, JsonValue>>;
using JsonElements = std::vector<JsonValue>;

/// A number as it stood in the text, so that what is only passed on is passed on unchanged.
struct JsonNumber {
    std::string text;  ///< well formed by RFC 8259

    /// The exact integer when the number's value is integral and fits a signed 64-bit integer
    /// (5, 5.0 and 5e0 are the same integer); else none.
    [[nodiscard]] std::optional<std::int64_t> integer() const;
    /// The nearest double; none beyond a double's range. Too small a number is zero.
    [[nodiscard]] std::optional<double> real() const;
    friend bool operator==(const JsonNumber&, const JsonNumber&) = default;
};

/// A JSON document as a tree, for the small documents (metadata, entitlements, tools). The exchange
/// itself is read in one pass by JsonReader and never becomes a tree.
class JsonValue {
public:
    using Variant =
        std::variant<std::nullptr_t, bool, JsonNumber, std::string, JsonElements, JsonMembers>;

    JsonValue() = default;
    JsonValue(std::nullptr_t) {}
    JsonValue(bool value) : value_(value) {}
    JsonValue(std::int64_t value);
    JsonValue(int value) : JsonValue(static_cast<std::int64_t>(value)) {}
    /// Finite numbers only: anything else is a bug and stops the process.
    JsonValue(double value);
    JsonValue(JsonNumber value) : value_(std::move(value)) {}
    JsonValue(std::string value) : value_(std::move(value)) {}
    JsonValue(std::string_view value) : value_(std::string(value)) {}
    JsonValue(const char* value) : value_(std::string(value)) {}
    JsonValue(JsonElements elements) : value_(std::move(elements)) {}
    JsonValue(JsonMembers members) : value_(std::move(members)) {}

    /// Parses one document by the rules of JsonReader, a top-level text, number, boolean or null
    /// included. Throws PlatformError as JsonReader does.
    [[nodiscard]] static JsonValue parse(std::string_view text);

    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::nullptr_t>(value_); }
    /// Each answers nullptr when the value is of another type.
    [[nodiscard]] const bool* boolean() const { return std::get_if<bool>(&value_); }
    [[nodiscard]] const JsonNumber* number() const { return std::get_if<JsonNumber>(&value_); }
    [[nodiscard]] const std::string* string() const { return std::get_if<std::string>(&value_); }
    [[nodiscard]] const JsonElements* array() const { return std::get_if<JsonElements>(&value_); }
    [[nodiscard]] JsonElements* array() { return std::get_if<JsonElements>(&value_); }
    [[nodiscard]] const JsonMembers* object() const { return std::get_if<JsonMembers>(&value_); }
    [[nodiscard]] JsonMembers* object() { return std::get_if<JsonMembers>(&value_); }
    /// The member of an object; nullptr when there is none or this is no object.
    [[nodiscard]] const JsonValue* member(std::string_view key) const;
    /// Sets or adds a member; on anything but an object a bug that stops the process.
    void setMember(std::string_view key, JsonValue value);
    /// Removes a member; true when there was one.
    bool removeMember(std::string_view key);

    /// Compact text, members in their order, numbers as they stood.
    [[nodiscard]] std::string text() const;
    /// For people: two blanks of indent for each level, one member or element on a line.
    [[nodiscard]] std::string indentedText() const;

    friend bool operator==(const JsonValue&, const JsonValue&) = default;

private:
    Variant value_ = nullptr;
};

}  // namespace kelto
