#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tests/random/ModelLibrary.hpp"

namespace kelto::history {

// How the model looks into a record: what is missing or of another type is never an error, it is
// none, and the caller says what holds instead. Numbers are never booleans, nor booleans numbers.

[[nodiscard]] std::optional<std::string> readText(const JsonValue& record, std::string_view key);
/// An integral number of the signed 64-bit range: 5, 5.0 and 5e0 alike.
[[nodiscard]] std::optional<std::int64_t> readInteger(const JsonValue& record,
                                                      std::string_view key);
/// Any number that a double can hold.
[[nodiscard]] std::optional<double> readNumber(const JsonValue& record, std::string_view key);
/// Whether the value is JSON's true.
[[nodiscard]] bool readTrue(const JsonValue& record, std::string_view key);
/// Milliseconds on the wire.
[[nodiscard]] std::optional<Seconds> readSeconds(const JsonValue& record, std::string_view key);
/// An identifier in any letter case.
[[nodiscard]] std::optional<Id> readId(const JsonValue& record, std::string_view key);
/// The elements of a list that are identifiers.
[[nodiscard]] std::vector<Id> readIds(const JsonValue& record, std::string_view key);

}  // namespace kelto::history
