#include "kelto/model/LibrarySchema.hpp"

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

const Schema& librarySchema() {
    static const Schema schema{{
        &Project::description(),
        &Tag::description(),
        &Thing::description(),
    }};
    return schema;
}

}  // namespace kelto
