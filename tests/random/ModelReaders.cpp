#include "tests/random/ModelReaders.hpp"

#include "kelto/foundation/Uuid.hpp"

namespace kelto::history {

namespace {

std::optional<Id> idIn(const JsonValue& value) {
    if (value.string() == nullptr) return std::nullopt;
    const auto uuid = Uuid::parse(*value.string());
    if (!uuid) return std::nullopt;
    return uuid->lowerCaseText();
}

const JsonNumber* numberUnder(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value == nullptr ? nullptr : value->number();
}

}  // namespace

std::optional<std::string> readText(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->string() == nullptr) return std::nullopt;
    return *value->string();
}

std::optional<std::int64_t> readInteger(const JsonValue& record, std::string_view key) {
    const JsonNumber* number = numberUnder(record, key);
    return number == nullptr ? std::nullopt : number->integer();
}

std::optional<double> readNumber(const JsonValue& record, std::string_view key) {
    const JsonNumber* number = numberUnder(record, key);
    const auto real = number == nullptr ? std::nullopt : number->real();
    // Zero has no sign: -0.0 is the integer 0, and what is too small for a double is that, too.
    return real == 0.0 ? 0.0 : real;
}

bool readTrue(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value != nullptr && value->boolean() != nullptr && *value->boolean();
}

std::optional<Seconds> readSeconds(const JsonValue& record, std::string_view key) {
    const auto milliseconds = readNumber(record, key);
    if (!milliseconds) return std::nullopt;
    return *milliseconds / 1000.0;
}

std::optional<Id> readId(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value == nullptr ? std::nullopt : idIn(*value);
}

std::vector<Id> readIds(const JsonValue& record, std::string_view key) {
    std::vector<Id> ids;
    const JsonValue* value = record.member(key);
    if (value == nullptr || value->array() == nullptr) return ids;
    for (const JsonValue& element : *value->array()) {
        if (const auto id = idIn(element)) ids.push_back(*id);
    }
    return ids;
}

}  // namespace kelto::history
