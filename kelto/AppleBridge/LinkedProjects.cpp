#include "kelto/AppleBridge/LinkedProjects.hpp"

namespace kelto {

bool LinkedProjects::isLinked(const Thing& thing) {
    passed_.clear();
    bool linked = false;
    for (const Project* project = thing.project(); project != nullptr;
         project = project->parent()) {
        // Entered as not linked for the time being: a walk in a circle meets itself and ends.
        const auto [place, isNew] = known_.try_emplace(project, false);
        if (!isNew) {
            linked = place->second;
            break;
        }
        passed_.push_back(project);
        if (!project->linkedFolderOwner().empty()) {
            linked = true;
            break;
        }
    }
    for (const Project* project : passed_) known_[project] = linked;
    return linked;
}

}  // namespace kelto
