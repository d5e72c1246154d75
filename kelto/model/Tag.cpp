#include "kelto/model/Tag.hpp"

#include <algorithm>
#include <memory>

#include "kelto/model/Thing.hpp"
#include "kelto/persistence/AttributeOf.hpp"

namespace kelto {

const EntityDescription& Tag::description() {
    // Never destroyed: see librarySchema().
    static const EntityDescription& entity =
        *new EntityDescription{.name = "Tag",
                               .attributes = {attributeOf<&Tag::uuid_>("uuid"),
                                              attributeOf<&Tag::name_>("name"),
                                              attributeOf<&Tag::createdAt_>("createdAt")},
                               .relationships = {thingsRelationship()},
                               .make = [](ObjectEnvironment& environment, std::int64_t row) {
                                   return std::unique_ptr<ModelObject>(new Tag(environment, row));
                               }};
    return entity;
}

RelationshipDescription Tag::thingsRelationship() {
    return {.name = "things",
            .destination = "Thing",
            .inverse = "tags",
            .storage = RelationshipStorage::inverse,
            .deleteRule = DeleteRule::nullify,
            .related =
                [](const ModelObject& tag) {
                    const auto things = static_cast<const Tag&>(tag).things_.list();
                    return std::vector<ModelObject*>(things.begin(), things.end());
                },
            .linkLoaded = nullptr,
            .unlinkLoaded = nullptr,
            .unlink =
                [](ModelObject& tag, ModelObject& thing) {
                    static_cast<Thing&>(thing).detachTag(static_cast<Tag&>(tag));
                }};
}

Tag::Tag(ObjectEnvironment& environment, std::string_view name)
    : Tag(environment, environment.takeRow(description())) {
    uuid_ = environment.randomUuid();
    name_ = name;
    createdAt_ = environment.now();
}

std::vector<Thing*> Tag::activeThings() const {
    std::vector<Thing*> active = things_.list();
    std::erase_if(active, [](const Thing* thing) { return thing->isTrashed(); });
    return active;
}

}  // namespace kelto
