#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/OrderedObjects.hpp"

namespace kelto {

class Thing;

/// A folder of the library; projects form a tree. Walks up the tree stop after 64 steps, so that a
/// cycle in foreign data cannot hang them.
class Project final : public ModelObject {
public:
    static constexpr int ancestorLimit = 64;

    [[nodiscard]] static const EntityDescription& description();

    /// A new project: a random uuid, created now.
    Project(ObjectEnvironment& environment, std::string_view name, Project* parent);

    [[nodiscard]] const Uuid& uuid() const { return uuid_; }
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::int64_t sortOrder() const { return sortOrder_; }
    /// Not empty: the project mirrors a linked folder, and this names the owner of the link.
    [[nodiscard]] const std::string& linkedFolderOwner() const { return linkedFolderOwner_; }
    [[nodiscard]] const Date& createdAt() const { return createdAt_; }
    [[nodiscard]] Project* parent() const { return parent_; }  ///< nullptr: a top-level project.
    [[nodiscard]] const OrderedObjects<Project>& children() const { return children_; }
    [[nodiscard]] const OrderedObjects<Thing>& things() const { return things_; }

    void setUuid(const Uuid& value) { assign(uuid_, value); }
    void setName(std::string_view value) { assign(name_, value); }
    void setSortOrder(std::int64_t value) { assign(sortOrder_, value); }
    void setLinkedFolderOwner(std::string_view value) { assign(linkedFolderOwner_, value); }
    void setCreatedAt(const Date& value) { assign(createdAt_, value); }
    void setParent(Project* value);

    /// By sortOrder, then by name (current locale, letter case aside), else in stored order.
    [[nodiscard]] std::vector<Project*> sortedChildren() const;
    /// The same, but none instead of an empty list, so that a leaf shows no disclosure control.
    [[nodiscard]] std::optional<std::vector<Project*>> outlineChildren() const;
    /// The names from the top down to this project, joined by " / "; the nearest 64 at most.
    [[nodiscard]] std::string path() const;
    [[nodiscard]] int depth() const;  ///< Number of ancestors, at most 64.
    /// This project and everything below it, depth first. The tree must be acyclic.
    [[nodiscard]] std::vector<Project*> selfAndDescendants();
    [[nodiscard]] bool isDescendantOf(const Project& other) const;
    [[nodiscard]] std::vector<Thing*> activeThings() const;  ///< Those not in the trash.

private:
    friend class Thing;

    /// A blank project for a row that is being read: asks neither the clock nor for a random uuid.
    Project(ObjectEnvironment& environment, std::int64_t row)
        : ModelObject(description(), environment, row) {}

    [[nodiscard]] static RelationshipDescription parentRelationship();
    [[nodiscard]] static RelationshipDescription childrenRelationship();
    [[nodiscard]] static RelationshipDescription thingsRelationship();

    Uuid uuid_;
    std::string name_;
    std::int64_t sortOrder_ = 0;
    std::string linkedFolderOwner_;
    Date createdAt_;
    Project* parent_ = nullptr;
    OrderedObjects<Project> children_;
    OrderedObjects<Thing> things_;
};

}  // namespace kelto
