#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kelto {

/// What may stand under an entitlement. `monostate` is any other kind of value (a boolean, a
/// number, a dictionary, a list that does not hold texts only).
using EntitlementValue = std::variant<std::monostate, std::string, std::vector<std::string>>;

/// The capabilities that were granted to this build. May be asked from any thread.
class Entitlements {
public:
    virtual ~Entitlements() = default;
    /// The value under `name`; none when there is none or the process cannot be asked.
    [[nodiscard]] virtual std::optional<EntitlementValue> value(std::string_view name) = 0;
};

}  // namespace kelto
