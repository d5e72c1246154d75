#include "kelto/model/Project.hpp"

#include <algorithm>
#include <memory>

#include "kelto/foundation/Text.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/AttributeOf.hpp"

namespace kelto {

namespace {

constexpr std::string_view pathSeparator = " / ";

bool isShownBefore(const Project* left, const Project* right) {
    if (left->sortOrder() != right->sortOrder()) return left->sortOrder() < right->sortOrder();
    return orderedBeforeCaseInsensitively(left->name(), right->name());
}

}  // namespace

const EntityDescription& Project::description() {
    // Never destroyed: see librarySchema().
    static const EntityDescription& entity = *new EntityDescription{
        .name = "Project",
        .attributes = {attributeOf<&Project::uuid_>("uuid"),
                       attributeOf<&Project::name_>("name"),
                       attributeOf<&Project::sortOrder_>("sortOrder"),
                       attributeOf<&Project::linkedFolderOwner_>("linkedFolderOwner"),
                       attributeOf<&Project::createdAt_>("createdAt")},
        .relationships = {parentRelationship(), childrenRelationship(), thingsRelationship()},
        .make = [](ObjectEnvironment& environment, std::int64_t row) {
            return std::unique_ptr<ModelObject>(new Project(environment, row));
        }};
    return entity;
}

RelationshipDescription Project::parentRelationship() {
    return {.name = "parent",
            .destination = "Project",
            .inverse = "children",
            .storage = RelationshipStorage::column,
            .deleteRule = DeleteRule::nullify,
            .related =
                [](const ModelObject& child) {
                    Project* const parent = static_cast<const Project&>(child).parent_;
                    return parent == nullptr ? std::vector<ModelObject*>()
                                             : std::vector<ModelObject*>{parent};
                },
            .linkLoaded =
                [](ModelObject& object, ModelObject& other) {
                    auto& child = static_cast<Project&>(object);
                    auto& parent = static_cast<Project&>(other);
                    child.parent_ = &parent;
                    parent.children_.add(child);
                },
            .unlinkLoaded =
                [](ModelObject& object) {
                    auto& child = static_cast<Project&>(object);
                    if (child.parent_ != nullptr) child.parent_->children_.remove(child);
                    child.parent_ = nullptr;
                },
            .unlink =
                [](ModelObject& object, ModelObject& parent) {
                    auto& child = static_cast<Project&>(object);
                    if (child.parent_ == &parent) child.setParent(nullptr);
                }};
}

RelationshipDescription Project::childrenRelationship() {
    return {.name = "children",
            .destination = "Project",
            .inverse = "parent",
            .storage = RelationshipStorage::inverse,
            .deleteRule = DeleteRule::cascade,
            .related =
                [](const ModelObject& parent) {
                    const auto children = static_cast<const Project&>(parent).children_.list();
                    return std::vector<ModelObject*>(children.begin(), children.end());
                },
            .linkLoaded = nullptr,
            .unlinkLoaded = nullptr,
            .unlink =
                [](ModelObject& parent, ModelObject& other) {
                    auto& child = static_cast<Project&>(other);
                    if (child.parent_ == &parent) child.setParent(nullptr);
                }};
}

RelationshipDescription Project::thingsRelationship() {
    return {.name = "things",
            .destination = "Thing",
            .inverse = "project",
            .storage = RelationshipStorage::inverse,
            .deleteRule = DeleteRule::nullify,
            .related =
                [](const ModelObject& project) {
                    const auto things = static_cast<const Project&>(project).things_.list();
                    return std::vector<ModelObject*>(things.begin(), things.end());
                },
            .linkLoaded = nullptr,
            .unlinkLoaded = nullptr,
            .unlink =
                [](ModelObject& project, ModelObject& other) {
                    auto& thing = static_cast<Thing&>(other);
                    if (thing.project() == &project) thing.setProject(nullptr);
                }};
}

Project::Project(ObjectEnvironment& environment, std::string_view name, Project* parent)
    : Project(environment, environment.takeRow(description())) {
    uuid_ = environment.randomUuid();
    name_ = name;
    createdAt_ = environment.now();
    parent_ = parent;
    if (parent_ != nullptr) parent_->children_.add(*this);
}

void Project::setParent(Project* value) {
    if (parent_ == value) return;
    if (parent_ != nullptr) parent_->children_.remove(*this);
    parent_ = value;
    if (parent_ != nullptr) parent_->children_.add(*this);
    noteChangedRow();
}

std::vector<Project*> Project::sortedChildren() const {
    std::vector<Project*> sorted = children_.list();
    std::stable_sort(sorted.begin(), sorted.end(), isShownBefore);
    return sorted;
}

std::optional<std::vector<Project*>> Project::outlineChildren() const {
    if (children_.empty()) return std::nullopt;
    return sortedChildren();
}

std::string Project::path() const {
    std::vector<std::string_view> names;  // from this project upward
    for (const Project* project = this; project != nullptr && names.size() < ancestorLimit;
         project = project->parent_) {
        names.emplace_back(project->name_);
    }
    std::string path(names.back());
    for (auto name = std::next(names.rbegin()); name != names.rend(); ++name) {
        path += pathSeparator;
        path += *name;
    }
    return path;
}

int Project::depth() const {
    int ancestors = 0;
    for (const Project* ancestor = parent_; ancestor != nullptr && ancestors < ancestorLimit;
         ancestor = ancestor->parent_) {
        ++ancestors;
    }
    return ancestors;
}

std::vector<Project*> Project::selfAndDescendants() {
    std::vector<Project*> found;
    // A list instead of recursion: a tree of projects may be deeper than the stack is long.
    std::vector<Project*> waiting{this};
    while (!waiting.empty()) {
        Project* const next = waiting.back();
        waiting.pop_back();
        found.push_back(next);
        const std::vector<Project*> children = next->sortedChildren();
        waiting.insert(waiting.end(), children.rbegin(), children.rend());
    }
    return found;
}

bool Project::isDescendantOf(const Project& other) const {
    const Project* ancestor = parent_;
    for (int step = 0; ancestor != nullptr && step < ancestorLimit; ++step) {
        if (ancestor->persistentIdentifier() == other.persistentIdentifier()) return true;
        ancestor = ancestor->parent_;
    }
    return false;
}

std::vector<Thing*> Project::activeThings() const {
    std::vector<Thing*> active = things_.list();
    std::erase_if(active, [](const Thing* thing) { return thing->isTrashed(); });
    return active;
}

}  // namespace kelto
