#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/RecordReader.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "tests/fuzz/FuzzTarget.hpp"

namespace kelto {

namespace {

std::optional<JsonValue> tree(std::string_view text) {
    try {
        return JsonValue::parse(text);
    } catch (const PlatformError&) {
        return std::nullopt;
    }
}

std::vector<Uuid> identifiersIn(const JsonValue* value) {
    std::vector<Uuid> identifiers;
    if (value == nullptr || value->array() == nullptr) return identifiers;
    for (const JsonValue& element : *value->array()) {
        const std::string* text = element.string();
        const auto identifier = text == nullptr ? std::nullopt : Uuid::parse(*text);
        if (identifier) identifiers.push_back(*identifier);
    }
    return identifiers;
}

/// Every reader against what the whole document says under that key.
void compare(const RecordValue& read, const JsonValue* whole, RecordKey key) {
    const std::string* text = whole == nullptr ? nullptr : whole->string();
    const JsonNumber* number = whole == nullptr ? nullptr : whole->number();
    const bool* boolean = whole == nullptr ? nullptr : whole->boolean();
    require(read.asString().has_value() == (text != nullptr), "a text is a text");
    require(text == nullptr || *read.asString() == *text, "a text is the same text");
    const auto integer = number == nullptr ? std::nullopt : number->integer();
    const auto real = number == nullptr ? std::nullopt : number->real();
    require(read.asInteger() == integer, "an integer is the same integer");
    require(read.asNumber() == real, "a number is the same number");
    require(read.asBoolean().has_value() == (boolean != nullptr), "a boolean is a boolean");
    require(boolean == nullptr || *read.asBoolean() == *boolean, "a boolean is the same boolean");
    const auto found = read.asIdentifiers();
    const std::vector<Uuid> expected =
        key == RecordKey::tags ? identifiersIn(whole) : std::vector<Uuid>();
    require(std::vector<Uuid>(found.begin(), found.end()) == expected,
            "the identifiers of a list are the same");
}

void compareAll(const RecordValues& values, const JsonValue& whole) {
    for (std::size_t i = 0; i < recordKeyCount; ++i) {
        const auto key = static_cast<RecordKey>(i);
        compare(values[i], whole.member(recordKeyText(key)), key);
    }
}

void compareRecord(std::string_view text) {
    const auto whole = tree(text);
    if (!whole || whole->object() == nullptr) return;
    JsonReader reader(text);
    RecordReader records;
    compareAll(records.read(reader), *whole);
    reader.finish();
    // The second way, for a text that is known to be well formed.
    if (text.starts_with('{')) compareAll(records.read(text), *whole);
}

/// Whether a whole document is a request, as far as its envelope says.
bool isRequest(const JsonValue& document) {
    const auto member = [&](std::string_view key) {
        static const JsonValue none;
        const JsonValue* value = document.member(key);
        return value == nullptr ? &none : value;
    };
    const JsonNumber* version = member("version")->number();
    const JsonElements* records = member("records")->array();
    if (version == nullptr || version->integer() != 1 || records == nullptr) return false;
    for (const JsonValue& record : *records) {
        if (record.object() == nullptr) return false;
    }
    return member("storePath")->string() != nullptr && member("directory")->string() != nullptr;
}

bool isSureToBeRefused(const JsonValue& record) {
    const auto textOf = [&](std::string_view key) {
        const JsonValue* value = record.member(key);
        return value == nullptr ? nullptr : value->string();
    };
    const JsonValue* deleted = record.member("deleted");
    if (deleted != nullptr && deleted->boolean() != nullptr && *deleted->boolean()) return false;
    const std::string* type = textOf("recordType");
    const std::string* uuid = textOf("uuid");
    return type == nullptr || uuid == nullptr || !Uuid::parse(*uuid) ||
           (*type != "Project" && *type != "Tag" && *type != "Thing");
}

/// What is left of a request's records: nothing behind the first that is sure to be refused.
std::size_t readCount(const JsonElements& records) {
    const auto refused = std::find_if(records.begin(), records.end(), &isSureToBeRefused);
    const auto end = refused == records.end() ? refused : refused + 1;
    return static_cast<std::size_t>(end - records.begin());
}

void compareRequest(const std::string& text) {
    const auto whole = tree(text);
    try {
        const ExchangeRequest request{LargeText(text)};
        require(whole && isRequest(*whole), "only requests are read as requests");
        const JsonElements& records = *whole->member("records")->array();
        require(request.records().size() == readCount(records), "no record is lost or made up");
        require(request.directory() == *whole->member("directory")->string(),
                "the directory is the same text");
        for (std::size_t i = 0; i < request.records().size(); ++i) {
            const JsonValue* title = records[i].member("title");
            const std::string* expected = title == nullptr ? nullptr : title->string();
            require(request.records()[i].string(RecordKey::title) ==
                        (expected == nullptr ? std::string_view() : *expected),
                    "a record in its request reads as it does alone");
        }
    } catch (const BridgeError&) {
        require(whole && !isRequest(*whole), "every request is read as a request");
    } catch (const PlatformError&) {
        const bool isContainer = whole && (whole->object() != nullptr || whole->array() != nullptr);
        require(!isContainer, "only what is no document is the JSON reader's error");
    }
}

}  // namespace

void fuzzRecords(std::string_view input) {
    compareRecord(input);
    compareRequest(std::string(input));
    compareRequest(R"({"version":1,"storePath":"/s","directory":"/d","records":[)" +
                   std::string(input) + "]}");
}

}  // namespace kelto
