#pragma once

#include <string>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// A thing for scripts: its record, with metadata as an object and the texts that are derived from
/// it ("displayTitle", "badge", "tagNames", "projectPath").
[[nodiscard]] JsonValue thingDocument(const Snapshot& snapshot, const ThingRecord& thing);
/// The same for whatever the item is.
[[nodiscard]] JsonValue itemDocument(const Snapshot& snapshot, const Item& item);
/// The same for a person: one "name  value" line for each field that says something.
[[nodiscard]] std::string printedItem(const Snapshot& snapshot, const Item& item);

/// "2024-05-01 17:03:20" in the local time zone.
[[nodiscard]] std::string localTime(std::int64_t milliseconds);

}  // namespace kelto::ctl
