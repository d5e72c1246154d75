#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kelto/foundation/TextBuffer.hpp"

namespace kelto {

// The one writer of JSON text. Its output is an input of digests that hosts keep for years, so not
// a byte of it may ever change: golden tests freeze it.
//
// Strings: `"` `\` `/` escaped by a reverse solidus; 08 09 0A 0C 0D as \b \t \n \f \r; the other
// control characters below 20 as \u00xx with lower-case digits; everything else as its own bytes.

/// Appends `text` (well-formed UTF-8) as a JSON string with its quotation marks.
void appendJsonString(std::string& out, std::string_view text);
void appendJsonString(TextBuffer& out, std::string_view text);

void appendJsonInteger(std::string& out, std::int64_t value);
void appendJsonInteger(TextBuffer& out, std::int64_t value);

/// Appends a double in the shortest form that reads back equal, without a final ".0"; in exponent
/// form (sign and at least two exponent digits, 1e+21, 1.5e-07) when its magnitude is above 2^53
/// or, not being zero, below 0.0001. Minus zero is -0. Infinity and NaN have no JSON form: passing
/// one is a bug and stops the process.
void appendJsonDouble(std::string& out, double value);
void appendJsonDouble(TextBuffer& out, double value);

}  // namespace kelto
