#include <optional>
#include <string>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "tests/fuzz/FuzzTarget.hpp"

namespace kelto {

namespace {

/// What the reader says against a text that it only passes over; empty when nothing.
std::string refusalOfSkipping(std::string_view text) {
    try {
        JsonReader reader(text);
        reader.skipValue();
        reader.finish();
        return "";
    } catch (const PlatformError& error) {
        require(error.code() == 3840, "a refused text is the JSON reader's error");
        return error.localizedDescription();
    }
}

/// The same for one that it reads value by value, and the values.
std::string refusalOfReading(std::string_view text, std::optional<JsonValue>& value) {
    try {
        value = JsonValue::parse(text);
        return "";
    } catch (const PlatformError& error) {
        return error.localizedDescription();
    }
}

}  // namespace

void fuzzJson(std::string_view input) {
    std::optional<JsonValue> value;
    const std::string read = refusalOfReading(input, value);
    require(refusalOfSkipping(input) == read, "reading and skipping refuse the same, at one place");
    require(isWellFormedUtf8(read), "a refusal is UTF-8");
    if (!value) return;
    require(isWellFormedUtf8(input), "what is accepted is UTF-8");

    const std::string text = value->text();
    require(isWellFormedUtf8(text), "what is written is UTF-8");
    const JsonValue again = JsonValue::parse(text);
    require(again == *value, "what is written reads back equal");
    require(again.text() == text, "what is written is written the same again");
    require(JsonValue::parse(value->indentedText()) == *value, "indenting changes no value");
}

}  // namespace kelto
