#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/OrderedObjects.hpp"

namespace kelto {

class Thing;

/// A flat label that any number of items can carry.
class Tag final : public ModelObject {
public:
    [[nodiscard]] static const EntityDescription& description();

    /// A new tag: a random uuid, created now.
    Tag(ObjectEnvironment& environment, std::string_view name);

    [[nodiscard]] const Uuid& uuid() const { return uuid_; }
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] const Date& createdAt() const { return createdAt_; }
    [[nodiscard]] const OrderedObjects<Thing>& things() const { return things_; }

    void setUuid(const Uuid& value) { assign(uuid_, value); }
    void setName(std::string_view value) { assign(name_, value); }
    void setCreatedAt(const Date& value) { assign(createdAt_, value); }

    [[nodiscard]] std::vector<Thing*> activeThings() const;  ///< Those not in the trash.

private:
    friend class Thing;

    /// A blank tag for a row that is being read: asks neither the clock nor for a random uuid.
    Tag(ObjectEnvironment& environment, std::int64_t row)
        : ModelObject(description(), environment, row) {}

    [[nodiscard]] static RelationshipDescription thingsRelationship();

    Uuid uuid_;
    std::string name_;
    Date createdAt_;
    OrderedObjects<Thing> things_;
};

}  // namespace kelto
