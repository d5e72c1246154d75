#pragma once

#include <optional>
#include <unordered_set>

#include "kelto/AppleBridge/AssetReader.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/LinkedProjects.hpp"
#include "kelto/AppleBridge/UniqueIndex.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Merges the host's records into the store: three passes over the records in their order (create
/// what is missing, update fields, delete), a check for cycles, one save. An update wins by time of
/// modification or, in linked folders, by fingerprints; where both sides have changed the same
/// item, the store's version is kept as a copy. All of a request is merged, or nothing.
class HostMerge {
public:
    /// What is given is borrowed until run() has returned.
    HostMerge(ModelContext& context, const ExchangeRequest& request, FileSystem& files);

    /// Throws the first refusal or failure; the context is then to be rolled back.
    void run();

private:
    void createMissing();
    /// A new model under that identifier, added to its index; nullptr when there is one already.
    template <typename Model, typename... Arguments>
    Model* create(UniqueIndex<Model>& index, const Uuid& identifier, Arguments&&... arguments);
    void updateFields();
    void updateProject(Project& project, const Record& record);
    static void updateTag(Tag& tag, const Record& record);
    void updateThing(Thing& thing, const Record& record);
    [[nodiscard]] bool hostWins(Thing& thing,
                                const Record& record,
                                const std::optional<Payload>& incomingData);
    void apply(Thing& thing, const Record& record, std::optional<ReceivedPayload> incomingData);
    [[nodiscard]] std::optional<Payload> kept(std::optional<ReceivedPayload> received);
    [[nodiscard]] Project* projectNamed(const std::optional<Uuid>& identifier) const;
    void deleteRecords();
    void deleteProject(Project& project);
    void checkCycles() const;
    void checkTimestamps() const;

    ModelContext& context_;
    const ExchangeRequest& request_;
    UniqueIndex<Thing> things_;
    UniqueIndex<Tag> tags_;
    UniqueIndex<Project> projects_;
    std::unordered_set<const Thing*> newThings_;
    LinkedProjects linkedProjects_;
    AssetReader assets_;
};

}  // namespace kelto
