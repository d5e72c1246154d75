#pragma once

#include <string>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Snapshot.hpp"
#include "tools/keltoctl/Terminal.hpp"

namespace kelto::ctl {

/// The library for a terminal: projects with their counts, things with badge, title, size, the
/// beginning of their identifier and their tags, in columns that fit its
/// width; the trash last; then the totals.
[[nodiscard]] std::string printedTree(const Snapshot& snapshot, const Appearance& appearance);

/// Some things in the same columns, without the tree.
[[nodiscard]] std::string printedList(const Snapshot& snapshot,
                                      const std::vector<const ThingRecord*>& things,
                                      const Appearance& appearance);

/// The same library as nested JSON: {"projects": [...], "things": [...], "totals": {...}}.
[[nodiscard]] JsonValue treeDocument(const Snapshot& snapshot);

}  // namespace kelto::ctl
