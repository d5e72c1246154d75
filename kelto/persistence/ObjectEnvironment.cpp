#include "kelto/persistence/ObjectEnvironment.hpp"

#include <utility>

namespace kelto {

ObjectEnvironment::ObjectEnvironment(std::shared_ptr<Clock> clock, std::shared_ptr<Random> random)
    : clock_(std::move(clock)), random_(std::move(random)) {}

std::int64_t ObjectEnvironment::takeRow(const EntityDescription& entity) {
    return ++lastRows_[&entity];
}

void ObjectEnvironment::setLastRow(const EntityDescription& entity, std::int64_t row) {
    lastRows_[&entity] = row;
}

}  // namespace kelto
