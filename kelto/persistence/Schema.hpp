#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/Payload.hpp"
#include "kelto/persistence/Row.hpp"

namespace kelto {

class ModelObject;
class ObjectEnvironment;

enum class AttributeType : std::uint8_t { uuid, text, integer, real, boolean, date, payload };

/// Where an attribute's bytes are kept.
enum class AttributeStorage : std::uint8_t { row, external };

/// One stored field of an entity.
struct AttributeDescription {
    std::string_view name;
    AttributeType type = AttributeType::text;
    bool isOptional = false;
    AttributeStorage storage = AttributeStorage::row;

    void (*write)(const ModelObject&, RowWriter&, int column) = nullptr;
    void (*read)(ModelObject&, RowReader&, int column) = nullptr;
    /// Only for payloads: the handle, if the object has one.
    std::optional<Payload> (*payload)(const ModelObject&) = nullptr;
    /// Only for identifiers: the value.
    Uuid (*identifier)(const ModelObject&) = nullptr;
};

/// What happens to the objects at the other end when an object is deleted.
enum class DeleteRule : std::uint8_t { nullify, cascade };

/// How the rows remember a relationship.
enum class RelationshipStorage : std::uint8_t {
    column,      ///< To-one: a column of the row, holding the other row's number.
    listColumn,  ///< To-many: a column of the row, holding the other rows' numbers in list order.
    inverse,     ///< Only in memory: the other side remembers it.
};

/// One end of a relationship. Both ends are always in step in memory.
struct RelationshipDescription {
    std::string_view name;
    std::string_view destination;  ///< Name of the entity at the other end.
    std::string_view inverse;      ///< Name of the relationship at the other end.
    RelationshipStorage storage = RelationshipStorage::inverse;
    DeleteRule deleteRule = DeleteRule::nullify;

    /// The objects at the other end: at most one for a to-one, in list order for a to-many.
    std::vector<ModelObject*> (*related)(const ModelObject&) = nullptr;
    /// Links two objects that were read from the store, without marking a change. To-many: at the
    /// end of the list. Null for RelationshipStorage::inverse.
    void (*linkLoaded)(ModelObject&, ModelObject& other) = nullptr;
    /// Undoes that for all objects at the other end, on both sides, before the row is read again.
    /// Null for RelationshipStorage::inverse.
    void (*unlinkLoaded)(ModelObject&) = nullptr;
    /// Ends the relation between the two, on both sides, as a change.
    void (*unlink)(ModelObject&, ModelObject& other) = nullptr;
};

/// One model class as the store sees it. Declared once, in the model, and never changed at run
/// time.
struct EntityDescription {
    std::string_view name;
    std::vector<AttributeDescription> attributes;
    std::vector<RelationshipDescription> relationships;
    /// A blank object for the row of that number, every field at its default.
    std::unique_ptr<ModelObject> (*make)(ObjectEnvironment&, std::int64_t row) = nullptr;
    /// Whether rows have a last column for what somebody has derived from the object.
    bool keepsDigests = false;
};

/// All entities of a store, in the order in which they are created and loaded.
struct Schema {
    std::vector<const EntityDescription*> entities;

    /// The entity of that name; an unknown name is a bug.
    [[nodiscard]] const EntityDescription& entity(std::string_view name) const;
};

}  // namespace kelto
