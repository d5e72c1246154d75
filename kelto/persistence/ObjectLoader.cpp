#include "kelto/persistence/ObjectLoader.hpp"

#include <cstring>
#include <limits>
#include <utility>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/RowList.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

/// Takes an object out of the relations that its row told of.
void unlinkStored(ModelObject& object) {
    for (const RelationshipDescription& relationship : object.entity().relationships) {
        if (relationship.unlinkLoaded != nullptr) relationship.unlinkLoaded(object);
    }
}

}  // namespace

ObjectLoader::ObjectLoader(const Schema& schema,
                           PersistentStore& store,
                           ObjectEnvironment& environment,
                           std::vector<Population>& populations)
    : schema_(schema), store_(store), environment_(environment), populations_(populations) {}

Population& ObjectLoader::population(const EntityDescription& entity) {
    for (Population& population : populations_) {
        if (&population.entity() == &entity) return population;
    }
    fatalError("a row of an entity that the container does not know");
}

void ObjectLoader::loadAll() {
    for (Population& population : populations_) loadNewRows(population);
    linkWaiting();
}

bool ObjectLoader::loadChanges(const std::vector<StoredRow>& changed) {
    for (const StoredRow& row : changed) loadAgain(row);
    bool haveComeOrGone = !gone_.empty();
    for (Population& population : populations_) {
        const std::size_t before = population.size();
        loadNewRows(population);
        haveComeOrGone |= population.size() != before;
    }
    linkWaiting();
    dropGone();
    return haveComeOrGone;
}

void ObjectLoader::loadNewRows(Population& population) {
    const EntityDescription& entity = population.entity();
    const RowRange newRows{population.firstRowBehind(), std::numeric_limits<std::int64_t>::max()};
    store_.load(entity, newRows, [&](std::int64_t row, RowReader& values) {
        auto object = entity.make(environment_, row);
        read(*object, values);
        object->state_ = ModelObject::State::stored;
        population.add(std::move(object));
    });
    environment_.setLastRow(entity, store_.lastRow(entity));
}

void ObjectLoader::loadAgain(const StoredRow& changed) {
    const Population& population = this->population(*changed.entity);
    ModelObject* const object = population.find(changed.row);
    bool isThere = false;
    store_.load(
        *changed.entity, {changed.row, changed.row}, [&](std::int64_t row, RowReader& values) {
            isThere = true;
            if (object != nullptr) {
                refresh(*object, values);
            } else if (row < population.firstRowBehind()) {
                throw damagedStore("a record has come up between older ones");
            }
            // Else it is new, and will be read with all that are new.
        });
    if (object == nullptr || isThere) return;
    unlinkStored(*object);
    gone_.push_back(object);
}

void ObjectLoader::refresh(ModelObject& object, RowReader& values) {
    unlinkStored(object);
    object.renew();
    std::vector<Uuid> before;
    const auto& attributes = object.entity().attributes;
    for (const AttributeDescription& attribute : attributes) {
        if (attribute.identifier != nullptr) before.push_back(attribute.identifier(object));
    }
    read(object, values);
    auto identifier = before.begin();
    for (const AttributeDescription& attribute : attributes) {
        if (attribute.identifier == nullptr) continue;
        // Others rely on it, and remember what they have worked out from it.
        if (attribute.identifier(object) != *identifier++) {
            throw damagedStore("a record has become another one");
        }
    }
}

void ObjectLoader::read(ModelObject& object, RowReader& values) {
    countWork(Work::objectsLoaded);
    int column = 0;
    for (const AttributeDescription& attribute : object.entity().attributes) {
        attribute.read(object, values, column++);
    }
    column = readRelationships(object, values, column);
    if (object.entity().keepsDigests) readDigests(object, values.blob(column));
}

int ObjectLoader::readRelationships(ModelObject& object, RowReader& values, int column) {
    for (const RelationshipDescription& relationship : object.entity().relationships) {
        others_.clear();
        switch (relationship.storage) {
            case RelationshipStorage::inverse:
                continue;
            case RelationshipStorage::column:
                if (!values.isNull(column)) others_.push_back(values.integer(column));
                break;
            case RelationshipStorage::listColumn:
                appendRowsOf(values.text(column), others_);
                break;
        }
        if (!others_.empty() && !link(object, relationship)) {
            for (const std::int64_t other : others_) {
                waitingLinks_.push_back({&object, &relationship, other});
            }
        }
        ++column;
    }
    return column;
}

bool ObjectLoader::link(ModelObject& object, const RelationshipDescription& relationship) {
    const Population& destination = population(schema_.entity(relationship.destination));
    linked_.clear();
    for (const std::int64_t row : others_) {
        ModelObject* const other = destination.find(row);
        if (other == nullptr) return false;
        linked_.push_back(other);
    }
    for (ModelObject* other : linked_) relationship.linkLoaded(object, *other);
    return true;
}

void ObjectLoader::readDigests(ModelObject& object, Bytes stored) {
    if (stored.size() != sizeof object.digests_) return;
    std::memcpy(&object.digests_, stored.data(), stored.size());
    object.digestState_ = ModelObject::DigestState::stored;
}

void ObjectLoader::linkWaiting() {
    for (const WaitingLink& link : waitingLinks_) {
        const auto& destination = schema_.entity(link.relationship->destination);
        ModelObject* const other = population(destination).find(link.other);
        if (other == nullptr) throw damagedStore("a record refers to one that is not there");
        link.relationship->linkLoaded(*link.object, *other);
    }
    waitingLinks_.clear();
}

void ObjectLoader::dropGone() {
    for (const ModelObject* object : gone_) {
        for (const RelationshipDescription& relationship : object->entity().relationships) {
            if (!relationship.related(*object).empty()) {
                throw damagedStore("a record refers to one that is not there");
            }
        }
    }
    for (const ModelObject* object : gone_) population(object->entity()).remove(*object);
    gone_.clear();
}

}  // namespace kelto
