#pragma once

#include <functional>
#include <map>
#include <string>

#include "kelto/platform/Entitlements.hpp"

namespace kelto {

/// Entitlements written as one JSON object: {"<name>": "text", "<name>": ["text", "text"]}. A text
/// that is no such object grants nothing: a broken file must not open what it cannot name.
class JsonEntitlements final : public Entitlements {
public:
    explicit JsonEntitlements(std::string_view json);

    [[nodiscard]] std::optional<EntitlementValue> value(std::string_view name) override;

private:
    std::map<std::string, EntitlementValue, std::less<>> values_;
};

}  // namespace kelto
