#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/RecordFields.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// What a record would do to the library as this host knows it, if it were sent.
struct PlannedChange {
    enum class Action : std::uint8_t { create, change, remove };
    Action action = Action::create;
    std::string recordType;
    std::string id;
    std::string name;  ///< a thing's display title
    std::vector<FieldChange> fields;
};

/// One for each record that would be sent, in their order.
[[nodiscard]] std::vector<PlannedChange> plannedChanges(const Snapshot& snapshot,
                                                        const JsonElements& records);

/// "+", "~" or "-" and the record, then its fields; at the end that nothing has happened.
[[nodiscard]] std::string printed(const std::vector<PlannedChange>& changes);
[[nodiscard]] JsonValue toJson(const std::vector<PlannedChange>& changes);

}  // namespace kelto::ctl
