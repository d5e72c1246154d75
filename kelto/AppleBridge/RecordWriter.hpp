#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Appends one JSON object, member by member, in the order of the calls. Canonical texts need their
/// keys sorted, so the callers write all records in that order.
class RecordWriter {
public:
    /// Opens the object at the end of `out`.
    explicit RecordWriter(TextBuffer& out) : out_(out) {}

    // `key` is one of the wire's own names: letters only, written as it stands.
    void text(std::string_view key, std::string_view value);
    /// A text of which no byte is ever escaped.
    void plainText(std::string_view key, std::string_view value);
    void integer(std::string_view key, std::int64_t value);
    void number(std::string_view key, double value);
    void boolean(std::string_view key, bool value);
    void identifier(std::string_view key, const Uuid& value);  ///< In lower case.
    void identifiers(std::string_view key, std::span<const Uuid> values);
    void digest(std::string_view key, const Digest& value);  ///< In lower-case hexadecimal digits.
    void timestamp(std::string_view key, const Date& value);
    /// The key alone; the caller appends the value to the text.
    TextBuffer& value(std::string_view key);

    void close();

private:
    /// Writes the key with what stands around it, and makes room for `size` bytes behind it.
    [[nodiscard]] char* put(std::string_view key, std::size_t size);

    TextBuffer& out_;
    char separator_ = '{';
};

/// Opens a record with the three members that every record has: "recordType", "uuid" in lower case,
/// "createdAt".
[[nodiscard]] RecordWriter base(TextBuffer& out,
                                std::string_view recordType,
                                const Uuid& uuid,
                                const Date& createdAt);

}  // namespace kelto
