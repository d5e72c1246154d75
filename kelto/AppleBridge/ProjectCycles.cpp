#include "kelto/AppleBridge/ProjectCycles.hpp"

#include <cstddef>
#include <unordered_map>

namespace kelto {

bool hasProjectCycle(const std::vector<const Project*>& projects) {
    // Each walk up marks what it passes with its own number: meeting that number again is a cycle,
    // meeting an earlier one means that the rest of the way is known to end.
    std::unordered_map<const Project*, std::size_t> passedBy;
    passedBy.reserve(projects.size());
    for (std::size_t walk = 0; walk < projects.size(); ++walk) {
        for (const Project* project = projects[walk]; project != nullptr;
             project = project->parent()) {
            const auto [place, isNew] = passedBy.try_emplace(project, walk);
            if (isNew) continue;
            if (place->second == walk) return true;
            break;
        }
    }
    return false;
}

}  // namespace kelto
