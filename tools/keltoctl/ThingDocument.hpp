#pragma once

#include <string>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Snapshot.hpp"
#include "tools/keltoctl/Terminal.hpp"

namespace kelto::ctl {

/// A thing for scripts: its record, with metadata as an object and the texts that are derived from
/// it ("displayTitle", "badge", "tagNames", "projectPath"), and its moments also in ISO 8601.
[[nodiscard]] JsonValue thingDocument(const Snapshot& snapshot, const ThingRecord& thing);
/// The same for whatever the item is.
[[nodiscard]] JsonValue itemDocument(const Snapshot& snapshot, const Item& item);
/// The same for a person: a name and a value for each field that says something, values wrapped to
/// the width.
[[nodiscard]] std::string printedItem(const Snapshot& snapshot,
                                      const Item& item,
                                      const Appearance& appearance);

}  // namespace kelto::ctl
