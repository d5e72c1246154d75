#pragma once

#include <unordered_map>
#include <vector>

#include "kelto/model/Project.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

/// Which projects belong to a linked folder: those with a link owner, and everything below them.
/// What was found out is remembered, so that the items of a deep tree do not each walk up all of
/// it.
class LinkedProjects {
public:
    /// Whether an item belongs to a linked folder. Ends on a cycle of projects too.
    [[nodiscard]] bool isLinked(const Thing& thing);
    /// To be called when a link owner or a parent has changed.
    void forget() { known_.clear(); }

private:
    std::unordered_map<const Project*, bool> known_;
    std::vector<const Project*> passed_;  // of the walk under way; kept for its memory
};

}  // namespace kelto
