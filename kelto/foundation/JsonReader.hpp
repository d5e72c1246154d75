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

#include "kelto/foundation/JsonStringScan.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/TextArena.hpp"

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
/// from 1 (columns in bytes of that line), bytes from 0; a byte-order mark counts. After a throw
/// the reader must not be used.
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

    /// The next value must be an object (check kind() first: else it is a bug).
    void enterObject();
    /// The next member's key, decoded; none after the last, which leaves the object. The member's
    /// value must be consumed before the next call.
    [[nodiscard]] std::optional<std::string_view> nextKey();

    /// At the start of a text that must hold an object or an array: any other value is a fault, but
    /// only once the rest of the text is known to be well formed.
    void requireContainer();

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

    /// The whole text, and how many of its bytes stand before the next value. After a value has
    /// been consumed, its own end.
    [[nodiscard]] std::string_view text() const {
        return {begin_, static_cast<std::size_t>(end_ - begin_)};
    }
    [[nodiscard]] std::size_t offset();

    /// Consumes the next value, an object or array of so many bytes, without looking at it: the
    /// caller has found it equal to one that was read before, nested as deep as here.
    void passOver(std::size_t size);

    /// Consumes the next value of any kind, checked like the rest, without recursion.
    void skipValue();
    /// The text must end here but for blanks.
    void finish();

private:
    /// What may be asked for next.
    enum class Place : std::uint8_t {
        value,       ///< a value: at the start, after a key, after nextElement() said true
        firstChild,  ///< a member or element: the container was just entered
        afterValue,  ///< another member or element, or after the last value of all finish()
    };

    // What runs for every value stands in this header; what is rare or ends in a throw, does not.
    [[nodiscard]] char peek();
    void skipBlanks();
    void requireValue() const;
    void requireInside(bool array) const;
    [[nodiscard]] std::string_view readString();
    [[nodiscard]] std::string_view readUnusualString(const char* first, const char* special);
    void skipString();
    void skipWord(std::string_view word);
    [[nodiscard]] bool stepToKey();
    void passColon();
    void enter(bool array);
    void leave();

    [[noreturn]] void failAt(const char* at, std::string_view cause) const;
    [[noreturn]] void failAtValue() const;
    [[noreturn]] void failAtKey() const;
    [[noreturn]] void failAtSeparator(std::string_view closing) const;
    [[noreturn]] void failAtKind() const;
    [[noreturn]] static void misuse();

    const char* begin_;
    const char* cursor_;
    const char* end_;
    Place place_ = Place::value;
    std::size_t depth_ = 0;
    std::bitset<depthLimit> arrays_;  ///< for each open container whether it is an array
    TextArena decoded_;
};

namespace detail {

inline constexpr std::uint8_t noJsonKind = 0xFF;

/// The kind of value that each byte begins.
inline constexpr std::array<std::uint8_t, 256> jsonKindOfByte = [] {
    std::array<std::uint8_t, 256> kinds{};
    kinds.fill(noJsonKind);
    const auto set = [&kinds](char c, JsonKind kind) {
        kinds[static_cast<std::uint8_t>(c)] = static_cast<std::uint8_t>(kind);
    };
    set('{', JsonKind::object);
    set('[', JsonKind::array);
    set('"', JsonKind::string);
    set('-', JsonKind::number);
    for (char digit = '0'; digit <= '9'; ++digit) set(digit, JsonKind::number);
    set('t', JsonKind::boolean);
    set('f', JsonKind::boolean);
    set('n', JsonKind::null);
    return kinds;
}();

}  // namespace detail

/// The next byte that is no blank; NUL, which no rule allows outside of strings, at the end.
inline char JsonReader::peek() {
    if (cursor_ != end_ && static_cast<unsigned char>(*cursor_) > ' ') [[likely]]
        return *cursor_;
    skipBlanks();
    return cursor_ == end_ ? '\0' : *cursor_;
}

inline void JsonReader::requireValue() const {
    if (place_ != Place::value) [[unlikely]]
        misuse();
}

inline void JsonReader::requireInside(bool array) const {
    const bool inside = place_ != Place::value && depth_ != 0 && arrays_[depth_ - 1] == array;
    if (!inside) [[unlikely]]
        misuse();
}

inline JsonKind JsonReader::kind() {
    requireValue();
    const std::uint8_t kind = detail::jsonKindOfByte[static_cast<std::uint8_t>(peek())];
    if (kind == detail::noJsonKind) [[unlikely]]
        failAtValue();
    return static_cast<JsonKind>(kind);
}

inline std::string_view JsonReader::readString() {
    const char* const first = cursor_ + 1;
    const char* const special = findJsonSpecial(first, end_);
    if (special == end_ || *special != '"') [[unlikely]] {
        return readUnusualString(first, special);
    }
    cursor_ = special + 1;
    return {first, static_cast<std::size_t>(special - first)};
}

/// True with the cursor on the quotation mark of the next key; false after the object was left.
inline bool JsonReader::stepToKey() {
    requireInside(false);
    char next = peek();
    if (next == '}') {
        leave();
        return false;
    }
    if (place_ == Place::afterValue) {
        if (next != ',') [[unlikely]]
            failAtSeparator("}");
        ++cursor_;
        next = peek();
    }
    if (next != '"') [[unlikely]]
        failAtKey();
    return true;
}

inline void JsonReader::passColon() {
    if (peek() != ':') [[unlikely]]
        failAt(cursor_, "a colon after a key is missing");
    ++cursor_;
    place_ = Place::value;
}

inline std::optional<std::string_view> JsonReader::nextKey() {
    if (!stepToKey()) return std::nullopt;
    const std::string_view key = readString();
    passColon();
    return key;
}

inline std::string_view JsonReader::string() {
    requireValue();
    if (peek() != '"') [[unlikely]]
        failAtKind();
    const std::string_view text = readString();
    place_ = Place::afterValue;
    return text;
}

inline void JsonReader::leave() {
    ++cursor_;
    --depth_;
    place_ = Place::afterValue;
}

}  // namespace kelto
