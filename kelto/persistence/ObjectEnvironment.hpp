#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/Payload.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

class ModelObject;
struct EntityDescription;

/// What model objects need of the world: the time, random identifiers, row numbers, and somebody
/// who hears of their changes. One for each container; model objects keep a pointer to it. A test
/// of the model alone makes its own.
class ObjectEnvironment {
public:
    ObjectEnvironment(std::shared_ptr<Clock> clock, std::shared_ptr<Random> random);
    ObjectEnvironment(const ObjectEnvironment&) = delete;

    [[nodiscard]] Date now() { return clock_->now(); }
    [[nodiscard]] Uuid randomUuid() { return random_->uuid(); }

    /// The next unused row number of an entity. Row numbers only ever grow, so their order is the
    /// order of creation.
    [[nodiscard]] std::int64_t takeRow(const EntityDescription& entity);
    /// From now on rows above `row` are unused.
    void setLastRow(const EntityDescription& entity, std::int64_t row);

    /// A number for a change: higher than that of every change before it.
    [[nodiscard]] std::uint64_t nextChange() { return ++lastChange_; }
    [[nodiscard]] std::uint64_t lastChange() const { return lastChange_; }

    /// Stored objects with a change that is not saved yet, in the order of their first change.
    std::vector<ModelObject*> changedObjects;
    /// Payloads that an object has let go of since the last save; others may still hold them.
    std::vector<Payload> releasedPayloads;

private:
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<Random> random_;
    std::map<const EntityDescription*, std::int64_t> lastRows_;
    std::uint64_t lastChange_ = 0;
};

}  // namespace kelto
