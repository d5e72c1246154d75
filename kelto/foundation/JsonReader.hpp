#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// What stands next in the text.
enum class JsonKind : std::uint8_t { object, array, string, number, boolean, null };

/// A number of the text, told apart as the exchange needs it.
struct JsonNumberValue {
    /// The exact value when it is integral and fits a signed 64-bit integer (5, 5.0, 5e0).
    std::optional<std::int64_t> integer;
    /// The nearest double; none when the number lies beyond a double's range.
    std::optional<double> real;
};

/// Reads the value of a number token that is well formed by RFC 8259.
[[nodiscard]] JsonNumberValue readJsonNumber(std::string_view token);

/// Reads one JSON text (RFC 8259) from front to back, once, without building a tree. Everything is
/// checked, what is skipped too: the grammar, UTF-8, escapes, surrogate pairs, and a depth of at
/// most 512 containers. No comments, no trailing commas. A number of any size is well formed. A
/// UTF-8 byte-order mark in front is passed over.
///
///     JsonReader reader(text);
///     reader.enterObject();
///     while (auto key = reader.nextKey()) {
///         if (*key == "title" && reader.kind() == JsonKind::string) title = reader.string();
///         else reader.skipValue();
///     }
///     reader.finish();
///
/// Every call throws a PlatformError (NSCocoaErrorDomain 3840) at the first fault: "The JSON text
/// is not valid at line 3, column 14 (byte 57): a comma or “}” is missing." Lines and columns count
/// from 1 (columns in bytes of that line), bytes from 0. After a throw the reader must not be used.
///
/// The text is borrowed and outlives the reader. A string without escapes is a view into it; one
/// with escapes is decoded into memory of the reader and lives as long as the reader does.
class JsonReader {
public:
    static constexpr std::size_t depthLimit = 512;

    explicit JsonReader(std::string_view text);
    JsonReader(const JsonReader&) = delete;
    JsonReader& operator=(const JsonReader&) = delete;

    /// The kind of the value that stands next; does not consume it. For a value in an object, call
    /// it after nextKey(); for an element, after nextElement().
    [[nodiscard]] JsonKind kind();

    void
    enterObject();  ///< The next value must be an object (check kind() first: else it is a bug).
    /// The next member's key, decoded; none after the last, which leaves the object. The member's
    /// value must be consumed before the next call.
    [[nodiscard]] std::optional<std::string_view> nextKey();

    void enterArray();  ///< The next value must be an array.
    /// True when another element follows (consume it); false after the last, which leaves the
    /// array.
    [[nodiscard]] bool nextElement();

    /// Each consumes the next value, which must be of that kind.
    [[nodiscard]] std::string_view string();
    [[nodiscard]] JsonNumberValue number();
    [[nodiscard]] std::string_view numberToken();  ///< The number's text as it stands.
    [[nodiscard]] bool boolean();
    void null();

    /// Consumes the next value of any kind, checked like the rest, without recursion.
    void skipValue();
    /// The text must end here but for blanks.
    void finish();

private:
    // The implementer's.
};

}  // namespace kelto
