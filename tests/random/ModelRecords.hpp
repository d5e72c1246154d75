#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kelto/foundation/Json.hpp"
#include "tests/random/ModelLibrary.hpp"

namespace kelto::history {

/// A moment as the wire carries it: whole milliseconds, halves rounded away from zero.
[[nodiscard]] std::int64_t wireMilliseconds(Seconds seconds);

/// JSON text with sorted keys and no blanks, the input of every fingerprint: "/" escaped, control
/// characters as \b \t \n \f \r or \u00xx, everything else as its own bytes.
[[nodiscard]] std::string canonicalText(const JsonValue& value);

/// A double in the shortest digits that read back equal; with an exponent only above 2^53 and
/// below 0.0001.
[[nodiscard]] JsonValue doubleValue(double number);

/// What stands for a thing's file: a digest over its kind, texts, name, trash time and bytes.
[[nodiscard]] std::string fileFingerprint(const ModelThing& thing);

// The records of the response.
[[nodiscard]] JsonValue projectRecord(const ModelProject& project);
[[nodiscard]] JsonValue tagRecord(const ModelTag& tag);
/// `receivedFolder` is where the payload files lie.
[[nodiscard]] JsonValue thingRecord(const ModelThing& thing, std::string_view receivedFolder);

}  // namespace kelto::history
