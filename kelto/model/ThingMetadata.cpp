#include "kelto/model/ThingMetadata.hpp"

#include <array>
#include <variant>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

using Text = std::optional<std::string>;
using Integer = std::optional<std::int64_t>;

struct Field {
    std::string_view key;
    std::variant<Text ThingMetadata::*, Integer ThingMetadata::*> member;
};

constexpr std::array<Field, 9> fields{{
    {"author", &ThingMetadata::author},
    {"authorHandle", &ThingMetadata::authorHandle},
    {"siteName", &ThingMetadata::siteName},
    {"stars", &ThingMetadata::stars},
    {"forks", &ThingMetadata::forks},
    {"language", &ThingMetadata::language},
    {"homepage", &ThingMetadata::homepage},
    {"width", &ThingMetadata::width},
    {"height", &ThingMetadata::height},
}};

// Each takes the value over; false when it is of another type than the field.
bool take(Text& field, const JsonValue& value) {
    if (const std::string* text = value.string()) field = *text;
    return field.has_value();
}

bool take(Integer& field, const JsonValue& value) {
    if (const JsonNumber* number = value.number()) field = number->integer();
    return field.has_value();
}

void append(std::string& json, const std::string& text) {
    // One ill-formed byte would make the whole text unreadable, and all fields with it.
    appendJsonString(json, repairedUtf8(text));
}

void append(std::string& json, std::int64_t integer) {
    appendJsonInteger(json, integer);
}

/// None when the document is no object or a field is of the wrong type.
std::optional<ThingMetadata> read(const JsonValue& document) {
    if (document.object() == nullptr) return std::nullopt;
    ThingMetadata metadata;
    for (const Field& field : fields) {
        const JsonValue* value = document.member(field.key);
        if (value == nullptr || value->isNull()) continue;
        const bool taken =
            std::visit([&](auto member) { return take(metadata.*member, *value); }, field.member);
        if (!taken) return std::nullopt;
    }
    return metadata;
}

}  // namespace

ThingMetadata ThingMetadata::fromJson(std::string_view text) {
    // Most items have none; that is not worth an exception.
    if (text.empty()) return {};
    try {
        return read(JsonValue::parse(text)).value_or(ThingMetadata{});
    } catch (const PlatformError&) {
        return {};
    }
}

std::string ThingMetadata::json() const {
    std::string json = "{";
    for (const Field& field : fields) {
        std::visit(
            [&](auto member) {
                const auto& value = this->*member;
                if (!value) return;
                if (json.size() > 1) json += ',';
                appendJsonString(json, field.key);
                json += ':';
                append(json, *value);
            },
            field.member);
    }
    json += '}';
    return json;
}

}  // namespace kelto
