#include "tools/keltoctl/LibraryTree.hpp"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

/// What lies directly in each project; the key "" stands for the top.
struct Contents {
    std::unordered_map<std::string, std::vector<const ProjectRecord*>> projects;
    std::unordered_map<std::string, std::vector<const ThingRecord*>> things;
};

bool standsBefore(const ProjectRecord* left, const ProjectRecord* right) {
    if (left->sortOrder != right->sortOrder) return left->sortOrder < right->sortOrder;
    return orderedBeforeCaseInsensitively(left->name, right->name);
}

std::vector<const ThingRecord*> byTitle(std::vector<const ThingRecord*> things) {
    std::stable_sort(things.begin(), things.end(), [](const auto* left, const auto* right) {
        return orderedBeforeCaseInsensitively(displayTitle(*left), displayTitle(*right));
    });
    return things;
}

LibraryBranch branchOf(const ProjectRecord* project, Contents& contents) {
    const std::string key = project == nullptr ? "" : project->id;
    LibraryBranch branch;
    branch.project = project;
    // Taken out of the table, so that a circle in a damaged snapshot ends.
    auto projects = std::move(contents.projects[key]);
    contents.projects[key].clear();
    std::stable_sort(projects.begin(), projects.end(), &standsBefore);
    for (const ProjectRecord* child : projects)
        branch.children.push_back(branchOf(child, contents));
    branch.things = byTitle(std::move(contents.things[key]));
    contents.things[key].clear();
    return branch;
}

}  // namespace

std::size_t LibraryBranch::thingCount() const {
    std::size_t count = things.size();
    for (const LibraryBranch& child : children) count += child.thingCount();
    return count;
}

LibraryBranch libraryTree(const Snapshot& snapshot) {
    const auto keyOf = [&](const std::optional<std::string>& project) {
        return project && snapshot.findProject(*project) != nullptr ? *project : "";
    };
    Contents contents;
    for (const ProjectRecord& project : snapshot.projects())
        contents.projects[keyOf(project.parent)].push_back(&project);
    for (const ThingRecord& thing : snapshot.things())
        contents.things[keyOf(thing.project)].push_back(&thing);
    return branchOf(nullptr, contents);
}

}  // namespace kelto::ctl
