#pragma once

#include <string>

#include "kelto/model/ThingKind.hpp"
#include "tools/keltoctl/Records.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

// The derived texts of a thing as the library's own model gives them, from a record instead of from
// a stored object: a host only ever holds records.

/// An unknown kind reads as a note.
[[nodiscard]] ThingKind kindOf(const ThingRecord& thing);
/// The extension of the file name, else the preferred one of the content type, else "".
[[nodiscard]] std::string fileExtension(const ThingRecord& thing);
[[nodiscard]] std::string displayTitle(const ThingRecord& thing);
/// A short upper-case label: "PNG", "URL", "NOTE".
[[nodiscard]] std::string badgeText(const ThingRecord& thing);
/// Not safe as a file name as it stands: see safeFileName.
[[nodiscard]] std::string exportFileName(const ThingRecord& thing);
/// Everything that searching looks at, folded: letter case and canonical form do not count.
[[nodiscard]] std::string foldedSearchText(const Snapshot& snapshot, const ThingRecord& thing);
[[nodiscard]] std::string folded(std::string_view text);

}  // namespace kelto::ctl
