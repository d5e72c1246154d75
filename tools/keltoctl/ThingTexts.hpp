#pragma once

#include <string>

#include "kelto/model/ShownTexts.hpp"
#include "kelto/model/ThingKind.hpp"
#include "tools/keltoctl/Records.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

// The texts of a thing from a record instead of from a stored object: a host only ever holds
// records.

/// An unknown kind reads as a note.
[[nodiscard]] ThingKind kindOf(const ThingRecord& thing);
/// What the library's own model makes its texts of. Borrows from `thing`.
[[nodiscard]] ShownTexts shownTexts(const ThingRecord& thing);
[[nodiscard]] std::string displayTitle(const ThingRecord& thing);
/// A thing's display title; the name of a project or a tag.
[[nodiscard]] std::string shownName(const Item& item);
/// A short upper-case label: "PNG", "URL", "NOTE".
[[nodiscard]] std::string badgeText(const ThingRecord& thing);
/// Not safe as a file name as it stands: see safeFileName.
[[nodiscard]] std::string exportFileName(const ThingRecord& thing);
/// Everything that searching looks at, folded: letter case and canonical form do not count.
[[nodiscard]] std::string foldedSearchText(const Snapshot& snapshot, const ThingRecord& thing);
[[nodiscard]] std::string folded(std::string_view text);

}  // namespace kelto::ctl
