#include "kelto/AppleBridge/MergedTimes.hpp"

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/WireTimestamp.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

void checkTime(const Date& date, bool isRehearsal) {
    if (isRehearsal && !date.representableMilliseconds()) {
        throw BridgeError(
            "A time of the request lies outside of what can be stored; an exchange with it ends "
            "the host’s process.");
    }
    (void)wireTimestamp(date);
}

void checkTimes(const ModelContext& context, bool isRehearsal) {
    for (const ModelObject* object : context.insertedAndChanged()) {
        if (&object->entity() == &Thing::description()) {
            const auto& thing = static_cast<const Thing&>(*object);
            checkTime(thing.createdAt(), isRehearsal);
            checkTime(thing.updatedAt(), isRehearsal);
            if (thing.trashedAt()) checkTime(*thing.trashedAt(), isRehearsal);
        } else if (&object->entity() == &Tag::description()) {
            checkTime(static_cast<const Tag&>(*object).createdAt(), isRehearsal);
        } else {
            checkTime(static_cast<const Project&>(*object).createdAt(), isRehearsal);
        }
    }
}

}  // namespace kelto
