#pragma once

#include <string_view>

namespace kelto {

// The tokens of a JSON text that need more than a look at one byte. For JsonReader only.

/// How far a token reaches, or where it breaks its rules.
struct JsonTokenExtent {
    const char* end;          ///< one past the token; the faulty place when there is a fault
    const char* fault;        ///< what is wrong there, as part of a sentence; else nullptr
    bool hasEscapes = false;  ///< strings only
};

/// A number that begins at `at`, which is a minus sign or a digit.
[[nodiscard]] JsonTokenExtent scanJsonNumber(const char* at, const char* end);

/// The rest of a string from `at`, anywhere inside its quotation marks, checked: control
/// characters, UTF-8, escapes, surrogate pairs. The end is one past the closing quotation mark.
[[nodiscard]] JsonTokenExtent scanJsonString(const char* at, const char* end);

/// Decodes what stood between the quotation marks of a string that was checked. Writes at most
/// `raw.size()` bytes to `to`; the answer is one past the last.
[[nodiscard]] char* decodeJsonString(std::string_view raw, char* to);

}  // namespace kelto
