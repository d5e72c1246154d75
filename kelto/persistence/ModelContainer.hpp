#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kelto/persistence/ObjectEnvironment.hpp"
#include "kelto/persistence/PersistentStore.hpp"
#include "kelto/persistence/Population.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// The open library: the store, and the objects that were read from it. They stay in memory between
/// units of work, so that an exchange that follows another reads only what somebody else has
/// written in between. Main thread only.
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
    /// How many objects the container holds, as of the last unit of work.
    [[nodiscard]] std::size_t objectCount() const;

private:
    friend class ModelContext;

    [[nodiscard]] Population& population(const EntityDescription& entity);
    /// Makes the objects agree with the store's unit of work, which has just begun.
    void begin(const ForeignChanges& changes);
    /// Answers false when everything has to be read instead.
    [[nodiscard]] bool loadChanges(const ForeignChanges& changes);
    void loadAll();
    /// Drops every object, so that the next begin() reads them anew.
    void forget() noexcept;

    const Schema& schema_;
    std::unique_ptr<PersistentStore> store_;
    ObjectEnvironment environment_;
    std::vector<Population> populations_;
    std::uint64_t populationNumber_ = 0;
    bool isLoaded_ = false;
};

}  // namespace kelto
