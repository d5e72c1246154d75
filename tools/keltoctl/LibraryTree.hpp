#pragma once

#include <vector>

#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// A project with what lies in it. The top branch has no project and holds what lies in none.
/// Points into the snapshot it was made from.
struct LibraryBranch {
    const ProjectRecord* project = nullptr;
    std::vector<LibraryBranch> children;     ///< by sort order, then by name
    std::vector<const ThingRecord*> things;  ///< by display title

    /// Things here and below.
    [[nodiscard]] std::size_t thingCount() const;
};

/// A project whose parent is unknown stands at the top.
[[nodiscard]] LibraryBranch libraryTree(const Snapshot& snapshot);

}  // namespace kelto::ctl
