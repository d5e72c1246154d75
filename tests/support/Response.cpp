#include "tests/support/Response.hpp"

#include <ostream>
#include <stdexcept>
#include <utility>

namespace kelto {

Response::Response(std::string text) : text_(std::move(text)), json_(JsonValue::parse(text_)) {
    if (json_.object() == nullptr) fail("no object");
}

std::string Response::error() const {
    const JsonValue* error = json_.member("error");
    if (error == nullptr) return {};
    if (error->string() == nullptr) fail("an \"error\" that is no text");
    return *error->string();
}

std::string Response::status() const {
    const JsonValue* status = json_.member("status");
    if (status == nullptr || status->string() == nullptr) fail("no \"status\"");
    return *status->string();
}

std::optional<std::int64_t> Response::lastSync() const {
    const JsonValue* lastSync = json_.member("lastSync");
    if (lastSync == nullptr) return std::nullopt;
    if (lastSync->number() == nullptr || !lastSync->number()->integer()) {
        fail("a \"lastSync\" that is no integer");
    }
    return lastSync->number()->integer();
}

const JsonElements& Response::records() const {
    const JsonValue* records = json_.member("records");
    if (records == nullptr || records->array() == nullptr) fail("no \"records\"");
    return *records->array();
}

std::vector<std::string> Response::identifiers(std::string_view recordType) const {
    std::vector<std::string> identifiers;
    for (const JsonValue& record : records()) {
        const JsonValue* type = record.member("recordType");
        const JsonValue* uuid = record.member("uuid");
        if (type == nullptr || uuid == nullptr || uuid->string() == nullptr) fail("a bare record");
        if (*type == JsonValue(recordType)) identifiers.push_back(*uuid->string());
    }
    return identifiers;
}

const JsonValue* Response::find(std::string_view uuid) const {
    for (const JsonValue& record : records()) {
        const JsonValue* found = record.member("uuid");
        if (found != nullptr && *found == JsonValue(uuid)) return &record;
    }
    return nullptr;
}

const JsonValue& Response::record(std::string_view uuid) const {
    const JsonValue* record = find(uuid);
    if (record == nullptr) fail("no record " + std::string(uuid));
    return *record;
}

bool Response::has(std::string_view uuid, std::string_view key) const {
    return record(uuid).member(key) != nullptr;
}

std::string Response::string(std::string_view uuid, std::string_view key) const {
    const std::string* string = value(uuid, key).string();
    if (string == nullptr) fail("no text under \"" + std::string(key) + "\"");
    return *string;
}

std::int64_t Response::integer(std::string_view uuid, std::string_view key) const {
    const JsonNumber* number = value(uuid, key).number();
    // By its text: 5.0 would be the same number, but must not be written for an integer.
    if (number == nullptr || !number->integer() ||
        number->text != std::to_string(*number->integer())) {
        fail("no integer under \"" + std::string(key) + "\"");
    }
    return *number->integer();
}

double Response::number(std::string_view uuid, std::string_view key) const {
    const JsonNumber* number = value(uuid, key).number();
    if (number == nullptr || !number->real()) fail("no number under \"" + std::string(key) + "\"");
    return *number->real();
}

bool Response::boolean(std::string_view uuid, std::string_view key) const {
    const bool* boolean = value(uuid, key).boolean();
    if (boolean == nullptr) fail("no boolean under \"" + std::string(key) + "\"");
    return *boolean;
}

std::vector<std::string> Response::strings(std::string_view uuid, std::string_view key) const {
    const JsonElements* elements = value(uuid, key).array();
    if (elements == nullptr) fail("no list under \"" + std::string(key) + "\"");
    std::vector<std::string> strings;
    for (const JsonValue& element : *elements) {
        if (element.string() == nullptr)
            fail("no list of texts under \"" + std::string(key) + "\"");
        strings.push_back(*element.string());
    }
    return strings;
}

const JsonValue& Response::value(std::string_view uuid, std::string_view key) const {
    const JsonValue* value = record(uuid).member(key);
    if (value == nullptr) fail("nothing under \"" + std::string(key) + "\"");
    return *value;
}

void Response::fail(std::string_view what) const {
    throw std::runtime_error("the response has " + std::string(what) + ": " + text_);
}

void PrintTo(const Response& response, std::ostream* out) {
    *out << response.text();
}

}  // namespace kelto
