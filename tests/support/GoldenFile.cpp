#include "tests/support/GoldenFile.hpp"

#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/Files.hpp"

namespace kelto {

namespace {

bool isRewriting() {
    const char* value = std::getenv("KELTO_REWRITE_GOLDEN");
    return value != nullptr && std::string_view(value) == "1";
}

JsonElements& casesOf(JsonValue& document) {
    for (auto& [key, value] : *document.object()) {
        if (key == "cases") return *value.array();
    }
    throw std::runtime_error("the golden file has no cases");
}

}  // namespace

void expectGolden(const std::string& name,
                  const std::function<JsonMembers(const JsonValue& input)>& actual) {
    const std::string path = KELTO_GOLDEN_FOLDER "/" + name;
    JsonValue document = JsonValue::parse(readFile(path));
    ASSERT_FALSE(casesOf(document).empty());
    for (JsonValue& each : casesOf(document)) {
        SCOPED_TRACE(goldenText(each, "name"));
        JsonMembers computed = actual(*each.member("input"));
        if (isRewriting()) {
            each.setMember("expected", std::move(computed));
            continue;
        }
        ASSERT_EQ(each.member("expected")->object()->size(), computed.size());
        for (const auto& [key, value] : computed) {
            const JsonValue* expected = each.member("expected")->member(key);
            ASSERT_NE(expected, nullptr) << key;
            EXPECT_EQ(expected->text(), value.text()) << key;
        }
    }
    if (isRewriting()) writeFile(path, document.indentedText() + "\n");
}

std::string goldenText(const JsonValue& input, std::string_view key) {
    const JsonValue* value = input.member(key);
    return value == nullptr || value->string() == nullptr ? std::string() : *value->string();
}

}  // namespace kelto
