#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/JsonWriter.hpp"
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
    void text(std::string_view key, std::string_view text) {
        out_.commit(put(key, 0));
        appendJsonString(out_, text);
    }
    /// A text of which no byte is ever escaped.
    void plainText(std::string_view key, std::string_view value);
    void integer(std::string_view key, std::int64_t integer) {
        out_.commit(put(key, 0));
        appendJsonInteger(out_, integer);
    }
    void number(std::string_view key, double value);
    void boolean(std::string_view key, bool boolean) {
        out_.commit(put(key, 0));
        out_.append(boolean ? "true" : "false");
    }
    /// In lower case.
    void identifier(std::string_view key, const Uuid& uuid) {
        char* to = put(key, Uuid::textLength + 2);
        *to++ = '"';
        uuid.putLowerCase(to);
        to += Uuid::textLength;
        *to++ = '"';
        out_.commit(to);
    }
    void identifiers(std::string_view key, std::span<const Uuid> values);
    /// In lower-case hexadecimal digits.
    void digest(std::string_view key, const Digest& digest) {
        char* to = put(key, Digest::hexLength + 2);
        *to++ = '"';
        digest.putHex(to);
        to += Digest::hexLength;
        *to++ = '"';
        out_.commit(to);
    }
    void timestamp(std::string_view key, const Date& value);
    /// The key alone; the caller appends the value to the text.
    TextBuffer& value(std::string_view key);

    void close();

private:
    /// Writes the key with what stands around it, and makes room for `size` bytes behind it. Part
    /// of its callers, to whom the key is known: a call for each of so few bytes took a tenth of
    /// the printing.
    [[nodiscard, gnu::always_inline]] inline char* put(std::string_view key, std::size_t size) {
        constexpr std::size_t aroundKey = 4;  // the separator, two quotation marks, the colon
        char* to = out_.room(key.size() + aroundKey + size);
        *to++ = std::exchange(separator_, ',');
        *to++ = '"';
        std::memcpy(to, key.data(), key.size());
        to += key.size();
        *to++ = '"';
        *to++ = ':';
        return to;
    }

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
