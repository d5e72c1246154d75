#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"

namespace kelto {

/// A response as a host reads it. A value that a test asks for and that is not there, or not of
/// that type, is an exception that shows the whole response.
class Response {
public:
    explicit Response(std::string text);

    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] const JsonValue& json() const { return json_; }
    /// The sentence of an error envelope; empty for a snapshot.
    [[nodiscard]] std::string error() const;
    [[nodiscard]] bool isError() const { return json_.member("error") != nullptr; }

    [[nodiscard]] std::string status() const;
    [[nodiscard]] std::optional<std::int64_t> lastSync() const;
    [[nodiscard]] const JsonElements& records() const;
    /// The identifiers of all records of a type, in the order of the response.
    [[nodiscard]] std::vector<std::string> identifiers(std::string_view recordType) const;

    /// The record of that identifier; nullptr when there is none.
    [[nodiscard]] const JsonValue* find(std::string_view uuid) const;
    [[nodiscard]] const JsonValue& record(std::string_view uuid) const;
    [[nodiscard]] bool has(std::string_view uuid, std::string_view key) const;
    [[nodiscard]] std::string string(std::string_view uuid, std::string_view key) const;
    [[nodiscard]] std::int64_t integer(std::string_view uuid, std::string_view key) const;
    [[nodiscard]] double number(std::string_view uuid, std::string_view key) const;
    [[nodiscard]] bool boolean(std::string_view uuid, std::string_view key) const;
    [[nodiscard]] std::vector<std::string> strings(std::string_view uuid,
                                                   std::string_view key) const;

private:
    [[nodiscard]] const JsonValue& value(std::string_view uuid, std::string_view key) const;
    [[noreturn]] void fail(std::string_view what) const;

    std::string text_;
    JsonValue json_;
};

void PrintTo(const Response& response, std::ostream* out);

}  // namespace kelto
