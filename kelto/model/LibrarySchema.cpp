#include "kelto/model/LibrarySchema.hpp"

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

const Schema& librarySchema() {
    // Never destroyed, nor are the descriptions: the process may end on one thread while the main
    // thread is in an exchange.
    static const Schema& schema = *new Schema{{
        &Project::description(),
        &Tag::description(),
        &Thing::description(),
    }};
    return schema;
}

}  // namespace kelto
