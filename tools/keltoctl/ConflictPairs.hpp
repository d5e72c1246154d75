#pragma once

#include <string>
#include <unordered_map>

#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// Whether the thing was kept as the other version of one that both sides had changed, by its name.
[[nodiscard]] bool isConflictCopy(const ThingRecord& thing);

/// The name that a title or a file name had before " (iCloud conflict)" was put in; the same text
/// when it was not.
[[nodiscard]] std::string withoutConflictMark(std::string_view name);

/// For each conflict copy the thing it was made of, by the copy's identifier. A copy does not name
/// its original, so they are told by what both keep: kind, time of creation, title, file name,
/// project. A copy whose original is gone, or could be one of several, is not in the table. Points
/// into the snapshot.
[[nodiscard]] std::unordered_map<std::string, const ThingRecord*> originalsOfConflictCopies(
    const Snapshot& snapshot);

}  // namespace kelto::ctl
