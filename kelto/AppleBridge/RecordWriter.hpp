#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// Appends one JSON object, member by member, in the order of the calls. Canonical texts need their
/// keys sorted, so the callers write all records in that order.
class RecordWriter {
public:
    /// Opens the object at the end of `out`.
    explicit RecordWriter(std::string& out) : out_(out) { out_ += '{'; }
    /// Goes on in an object that was opened elsewhere, behind one of its values.
    struct Continued {};
    RecordWriter(std::string& out, Continued /*unused*/) : out_(out), isEmpty_(false) {}

    // `key` is one of the wire's own names: letters only, written as it stands.
    void text(std::string_view key, std::string_view value);
    void integer(std::string_view key, std::int64_t value);
    void number(std::string_view key, double value);
    void boolean(std::string_view key, bool value);
    void identifier(std::string_view key, const Uuid& value);  ///< In lower case.
    void timestamp(std::string_view key, const Date& value);
    /// The key alone; the caller appends the value to the text.
    std::string& value(std::string_view key);

    void close() { out_ += '}'; }

private:
    std::string& out_;
    bool isEmpty_ = true;
};

/// Opens a record with the three members that every record has: "recordType", "uuid" in lower case,
/// "createdAt".
[[nodiscard]] RecordWriter base(std::string& out,
                                std::string_view recordType,
                                const Uuid& uuid,
                                const Date& createdAt);

}  // namespace kelto
