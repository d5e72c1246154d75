#include "kelto/persistence/ModelContainer.hpp"

#include <utility>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/ObjectLoader.hpp"

namespace kelto {

ModelContainer::ModelContainer(const Schema& schema,
                               std::unique_ptr<PersistentStore> store,
                               std::shared_ptr<Clock> clock,
                               std::shared_ptr<Random> random)
    : schema_(schema), store_(std::move(store)), environment_(std::move(clock), std::move(random)) {
    for (const EntityDescription* entity : schema_.entities) populations_.emplace_back(*entity);
}

ModelContainer::~ModelContainer() = default;

std::size_t ModelContainer::objectCount() const {
    std::size_t count = 0;
    for (const Population& population : populations_) count += population.size();
    return count;
}

Population& ModelContainer::population(const EntityDescription& entity) {
    for (Population& population : populations_) {
        if (&population.entity() == &entity) return population;
    }
    fatalError("an object of an entity that the container does not know");
}

void ModelContainer::begin(const ForeignChanges& changes) {
    if (isLoaded_ && changes.extent == ForeignChanges::Extent::none) return;
    try {
        if (!loadChanges(changes)) loadAll();
    } catch (...) {
        forget();
        store_->rollback();
        throw;
    }
}

bool ModelContainer::loadChanges(const ForeignChanges& changes) {
    if (!isLoaded_ || changes.extent == ForeignChanges::Extent::unknown) return false;
    try {
        ObjectLoader loader(schema_, *store_, environment_, populations_);
        if (loader.loadChanges(changes.rows)) ++populationNumber_;
        return true;
    } catch (const PlatformError&) {
        return false;  // whatever it is, reading everything puts it right or says what is wrong
    }
}

void ModelContainer::loadAll() {
    forget();
    ObjectLoader(schema_, *store_, environment_, populations_).loadAll();
    isLoaded_ = true;
}

void ModelContainer::forget() noexcept {
    isLoaded_ = false;
    ++populationNumber_;
    environment_.changedObjects.clear();
    environment_.releasedPayloads.clear();
    for (Population& population : populations_) population.clear();
}

}  // namespace kelto
