#include "tests/random/ResponseComparison.hpp"

#include <algorithm>
#include <vector>

#include "tests/random/ModelReaders.hpp"

namespace kelto::history {

namespace {

std::string shown(const JsonValue* value) {
    return value == nullptr ? "nothing" : value->text();
}

std::string differs(const std::string& where, const JsonValue* expected, const JsonValue* actual) {
    return where + " is " + shown(actual) + ", expected " + shown(expected);
}

std::string member(std::string where, const std::string& key) {
    return where.append(" \"").append(key).append("\"");
}

std::optional<std::string> differenceOfObjects(const std::string& where,
                                               const JsonValue& expected,
                                               const JsonValue& actual) {
    if (actual.object() == nullptr) return differs(where, &expected, &actual);
    for (const auto& [key, value] : *expected.object()) {
        const JsonValue* other = actual.member(key);
        if (other == nullptr || *other != value) {
            return differs(member(where, key), &value, other);
        }
    }
    for (const auto& [key, value] : *actual.object()) {
        if (expected.member(key) == nullptr) {
            return differs(member(where, key), nullptr, &value);
        }
    }
    return std::nullopt;
}

std::optional<std::string> differenceOfRecords(const JsonElements& expected,
                                               const JsonElements& actual) {
    for (std::size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
        const std::string where = "record " + std::to_string(i);
        if (i >= actual.size()) return differs(where, &expected[i], nullptr);
        if (i >= expected.size()) return differs(where, nullptr, &actual[i]);
        const std::string whose = where + ' ' + readText(expected[i], "uuid").value_or("");
        if (auto found = differenceOfObjects(whose, expected[i], actual[i])) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<std::string> differenceOfErrors(const Outcome& expected, const JsonValue& response) {
    const auto error = readText(response, "error");
    if (expected.unreadableFile) {
        if (error && error->find(*expected.unreadableFile) != std::string::npos)
            return std::nullopt;
        return "the answer is " + response.text() + ", expected an error that names the file " +
               *expected.unreadableFile;
    }
    const JsonValue envelope = JsonMembers{{"version", 1}, {"error", expected.refusal}};
    return differenceOfObjects("the error envelope's", envelope, response);
}

}  // namespace

std::optional<std::string> differenceOf(const Outcome& expected, const JsonValue& response) {
    if (!expected.isAnswer()) return differenceOfErrors(expected, response);
    const JsonValue* records = response.member("records");
    if (records == nullptr || records->array() == nullptr) {
        return "the answer is " + response.text() + ", expected a snapshot";
    }
    if (auto found =
            differenceOfRecords(*expected.response.member("records")->array(), *records->array())) {
        return found;
    }
    // Compared just now, element by element and key by key.
    JsonValue envelope = response;
    envelope.setMember("records", *expected.response.member("records"));
    return differenceOfObjects("the response's", expected.response, envelope);
}

}  // namespace kelto::history
