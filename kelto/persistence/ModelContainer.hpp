#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/ObjectEnvironment.hpp"
#include "kelto/persistence/PersistentStore.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// The open library: the store, and the objects that were read from it. They stay in memory between
/// units of work, so that an exchange that follows another reads nothing again unless somebody else
/// has written. Main thread only.
class ModelContainer {
public:
    ModelContainer(const Schema& schema,
                   std::unique_ptr<PersistentStore> store,
                   std::shared_ptr<Clock> clock,
                   std::shared_ptr<Random> random);
    ~ModelContainer();
    ModelContainer(const ModelContainer&) = delete;
    ModelContainer& operator=(const ModelContainer&) = delete;

    [[nodiscard]] PayloadStorage& payloads() { return store_->payloads(); }
    /// Another number whenever an object was added to those of the container or has left them.
    /// While it stays, pointers to objects stay good.
    [[nodiscard]] std::uint64_t populationNumber() const { return populationNumber_; }

private:
    friend class ModelContext;

    /// The objects of one entity, in the order of their creation.
    struct Population {
        const EntityDescription* entity;
        std::vector<std::unique_ptr<ModelObject>> objects;
    };

    /// A relation that was read before the object at its other end.
    struct WaitingLink {
        ModelObject* object;
        const RelationshipDescription* relationship;
        std::int64_t other;  ///< Row of the object at the other end.
    };

    [[nodiscard]] Population& population(const EntityDescription& entity);
    /// Starts the store's unit of work and makes the objects agree with it.
    void begin();
    void load();
    void loadObjects(Population& population);
    /// Notes what a row says of the relationships of `object`; their columns begin at `column`.
    void readRelationships(ModelObject& object, RowReader& values, int column);
    void linkWaiting();
    /// Drops every object, so that the next begin() reads them anew.
    void forget() noexcept;

    const Schema& schema_;
    std::unique_ptr<PersistentStore> store_;
    ObjectEnvironment environment_;
    std::vector<Population> populations_;
    std::vector<WaitingLink> waitingLinks_;
    std::uint64_t populationNumber_ = 0;
    bool isLoaded_ = false;
};

}  // namespace kelto
