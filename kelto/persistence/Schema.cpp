#include "kelto/persistence/Schema.hpp"

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

const EntityDescription& Schema::entity(std::string_view name) const {
    for (const EntityDescription* entity : entities) {
        if (entity->name == name) return *entity;
    }
    fatalError("the schema has no such entity");
}

}  // namespace kelto
