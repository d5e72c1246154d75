#pragma once

#include <cstdint>
#include <vector>

#include "kelto/foundation/LargeVector.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/ObjectEnvironment.hpp"
#include "kelto/persistence/PersistentStore.hpp"
#include "kelto/persistence/Population.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// Makes the objects of a container agree with the rows of its store. Whatever does not fit
/// together is a damaged store's error, and leaves objects behind that are not to be used.
class ObjectLoader {
public:
    ObjectLoader(const Schema& schema,
                 PersistentStore& store,
                 ObjectEnvironment& environment,
                 std::vector<Population>& populations);

    /// Makes an object of every row. There must be none yet.
    void loadAll();
    /// Refreshes the objects of these rows, drops those whose rows are gone, and makes the objects
    /// of new rows. Those that stay keep their addresses. Answers whether any have come or gone.
    [[nodiscard]] bool loadChanges(const std::vector<StoredRow>& changed);

private:
    /// A relation that was read before an object at its other end.
    struct WaitingLink {
        ModelObject* object;
        const RelationshipDescription* relationship;
        std::int64_t other;  ///< Row of the object at the other end.
    };

    [[nodiscard]] Population& population(const EntityDescription& entity);
    void loadNewRows(Population& population);
    /// Reads the row of `changed` into its object. An object whose row is gone joins `gone_`.
    void loadAgain(const StoredRow& changed);
    void refresh(ModelObject& object, RowReader& values);
    void read(ModelObject& object, RowReader& values);
    /// Makes the relations that a row tells of, or has them wait for objects that are not loaded
    /// yet. Their columns begin at `column`; answers the column behind them.
    int readRelationships(ModelObject& object, RowReader& values, int column);
    /// Links the object to those of the rows `others_`, in their order, if all of them are loaded.
    [[nodiscard]] bool link(ModelObject& object, const RelationshipDescription& relationship);
    static void readDigests(ModelObject& object, Bytes stored);
    void linkWaiting();
    void dropGone();

    const Schema& schema_;
    PersistentStore& store_;
    ObjectEnvironment& environment_;
    std::vector<Population>& populations_;
    LargeVector<WaitingLink> waitingLinks_;
    std::vector<ModelObject*> gone_;
    // Of the relationship that is being read; kept for their memory.
    std::vector<std::int64_t> others_;
    std::vector<ModelObject*> linked_;
};

}  // namespace kelto
