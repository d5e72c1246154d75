#include "kelto/platform/linux/JsonEntitlements.hpp"

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

namespace {

JsonValue parsedOrNull(std::string_view json) {
    try {
        return JsonValue::parse(json);
    } catch (const PlatformError&) {
        return nullptr;
    }
}

EntitlementValue entitlementValue(const JsonValue& value) {
    if (const std::string* text = value.string()) return *text;
    const JsonElements* elements = value.array();
    if (elements == nullptr) return {};
    std::vector<std::string> texts;
    for (const JsonValue& element : *elements) {
        const std::string* text = element.string();
        if (text == nullptr) return {};
        texts.push_back(*text);
    }
    return texts;
}

}  // namespace

JsonEntitlements::JsonEntitlements(std::string_view json) {
    const JsonValue document = parsedOrNull(json);
    const JsonMembers* members = document.object();
    if (members == nullptr) return;
    for (const auto& [name, value] : *members) values_.emplace(name, entitlementValue(value));
}

std::optional<EntitlementValue> JsonEntitlements::value(std::string_view name) {
    const auto found = values_.find(name);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

}  // namespace kelto
