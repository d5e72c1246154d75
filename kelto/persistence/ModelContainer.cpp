#include "kelto/persistence/ModelContainer.hpp"

#include <algorithm>
#include <utility>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/RowList.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

/// The object of that row, found by binary search; nullptr when there is none.
ModelObject* find(const std::vector<std::unique_ptr<ModelObject>>& objects, std::int64_t row) {
    const auto place = std::lower_bound(
        objects.begin(), objects.end(), row, [](const auto& object, std::int64_t wanted) {
            return object->row() < wanted;
        });
    return place != objects.end() && (*place)->row() == row ? place->get() : nullptr;
}

ModelObject& linked(ModelObject* object) {
    if (object == nullptr) {
        throw damagedStore("a record refers to one that is not there");
    }
    return *object;
}

}  // namespace

ModelContainer::ModelContainer(const Schema& schema,
                               std::unique_ptr<PersistentStore> store,
                               std::shared_ptr<Clock> clock,
                               std::shared_ptr<Random> random)
    : schema_(schema), store_(std::move(store)), environment_(std::move(clock), std::move(random)) {
    for (const EntityDescription* entity : schema_.entities) populations_.push_back({entity, {}});
}

ModelContainer::~ModelContainer() = default;

ModelContainer::Population& ModelContainer::population(const EntityDescription& entity) {
    for (Population& population : populations_) {
        if (population.entity == &entity) return population;
    }
    fatalError("an object of an entity that the container does not know");
}

void ModelContainer::begin() {
    const PersistentStore::Since since = store_->begin();
    if (isLoaded_ && since == PersistentStore::Since::unchanged) return;
    try {
        load();
    } catch (...) {
        forget();
        store_->rollback();
        throw;
    }
}

void ModelContainer::load() {
    forget();
    for (Population& population : populations_) {
        loadObjects(population);
        environment_.setLastRow(*population.entity, store_->lastRow(*population.entity));
    }
    linkWaiting();
    isLoaded_ = true;
}

void ModelContainer::loadObjects(Population& population) {
    const EntityDescription& entity = *population.entity;
    store_->load(entity, [&](std::int64_t row, RowReader& values) {
        auto object = entity.make(environment_, row);
        countWork(Work::objectsLoaded);
        int column = 0;
        for (const AttributeDescription& attribute : entity.attributes) {
            attribute.read(*object, values, column++);
        }
        readRelationships(*object, values, column);
        object->state_ = ModelObject::State::stored;
        population.objects.push_back(std::move(object));
    });
}

void ModelContainer::readRelationships(ModelObject& object, RowReader& values, int column) {
    // Others may not be loaded yet: the links wait until all are.
    for (const RelationshipDescription& relationship : object.entity().relationships) {
        switch (relationship.storage) {
            case RelationshipStorage::inverse:
                continue;
            case RelationshipStorage::column:
                if (!values.isNull(column)) {
                    waitingLinks_.push_back({&object, &relationship, values.integer(column)});
                }
                break;
            case RelationshipStorage::listColumn:
                for (const std::int64_t other : rowsOf(values.text(column))) {
                    waitingLinks_.push_back({&object, &relationship, other});
                }
                break;
        }
        ++column;
    }
}

void ModelContainer::linkWaiting() {
    for (const WaitingLink& link : waitingLinks_) {
        const auto& others = population(schema_.entity(link.relationship->destination)).objects;
        link.relationship->linkLoaded(*link.object, linked(find(others, link.other)));
    }
    waitingLinks_.clear();
}

void ModelContainer::forget() noexcept {
    isLoaded_ = false;
    ++populationNumber_;
    waitingLinks_.clear();
    environment_.changedObjects.clear();
    environment_.releasedPayloads.clear();
    for (Population& population : populations_) population.objects.clear();
}

}  // namespace kelto
