#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"

namespace kelto::ctl {

/// One field of a record as it is on two sides. None: it is not there.
struct FieldChange {
    std::string field;
    std::optional<JsonValue> before;
    std::optional<JsonValue> after;
};

/// The fields in which two records are different, in the order of the first, then of the second.
[[nodiscard]] std::vector<FieldChange> fieldChanges(const JsonValue& before,
                                                    const JsonValue& after);

/// A line for each, indented: the field, its old value, its new one.
[[nodiscard]] std::string printed(const std::vector<FieldChange>& changes);
/// [{"field": "title", "before": …, "after": …}]
[[nodiscard]] JsonValue toJson(const std::vector<FieldChange>& changes);

/// "Thing “Evening” (d0384535)", as it may be shown on a terminal.
[[nodiscard]] std::string spokenRecord(std::string_view recordType,
                                       std::string_view name,
                                       std::string_view id);

}  // namespace kelto::ctl
