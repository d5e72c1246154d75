#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "kelto/AppleBridge/AssetReader.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/LibraryIndex.hpp"
#include "kelto/AppleBridge/MergeCounts.hpp"
#include "kelto/AppleBridge/MergeNotes.hpp"
#include "kelto/AppleBridge/MergeObserver.hpp"
#include "kelto/AppleBridge/ThingMerge.hpp"
#include "kelto/foundation/LargeVector.hpp"
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
///
/// A record that was merged before, letter by letter the same, while nothing that it depends on has
/// changed since, is passed over: merging it again would change nothing.
class HostMerge {
public:
    /// What is given is borrowed until save() has returned. An observer is told every decision;
    /// exchanges have none.
    HostMerge(ModelContext& context,
              const ExchangeRequest& request,
              FileSystem& files,
              LibraryIndex& index,
              MergeObserver* observer = nullptr);

    /// Begins the context's unit of work. Throws what keeps it from beginning.
    void begin();
    /// Throws the first refusal or failure; the context is then to be rolled back.
    void merge();
    /// Saves what was merged. Answers what is worth remembering until the next request: what was
    /// remembered already, if the request is the last one once more, and there was nothing to do.
    [[nodiscard]] std::shared_ptr<const RequestMemory> save();

    /// Of merge(), once it has returned.
    [[nodiscard]] const MergeCounts& counts() const { return counts_; }

private:
    /// Whether the request is the last one once more, and nothing that it depends on has changed.
    [[nodiscard]] bool repeatsLastMerge();
    void createMissing();
    /// The model of that identifier, made when there is none.
    template <typename Model, typename... Arguments>
    Model& findOrCreate(UniqueIndex<Model>& index,
                        const Uuid& identifier,
                        Arguments&&... arguments);
    [[nodiscard]] ModelObject& objectOf(const Record& record, const SeenRecord& note);
    void updateFields();
    void updateObject(ModelObject& object, RecordType type, const Record& record);
    /// The same, telling the observer.
    void updateObserved(const SeenRecord& note, const Record& record);
    /// Asks the memory for the objects of the records behind that place.
    void fetchAhead(std::size_t place);
    [[nodiscard]] bool isSettled(const Record& record, const SeenRecord& note);
    /// Of a file that the last request named.
    [[nodiscard]] std::optional<FileStatus> statusOfFile(std::size_t number);
    void lookAt(const Record* record) const;
    void updateProject(Project& project, const Record& record);
    void updateTag(Tag& tag, const Record& record);
    void deleteRecords();
    /// Answers the object that is being deleted; nullptr when the store holds none.
    const ModelObject* deleteObject(RecordType type, const Uuid& identifier);
    void tellDeletion(const Record& record, RecordType type, const ModelObject* object) const;
    template <typename Model>
    [[nodiscard]] Model* taken(UniqueIndex<Model>& index, const Uuid& identifier);
    void deleteProject(Project& project);
    void checkCycles();

    ModelContext& context_;
    const ExchangeRequest& request_;
    LibraryIndex& index_;
    AssetReader assets_;
    MergeNotes notes_;
    ThingMerge things_;
    /// Of the files that the last request named.
    LargeVector<std::optional<FileStatus>> fileStatuses_;
    MergeObserver* observer_;
    MergeDecision decision_;      ///< About the record under way; complete for observers only.
    std::size_t recognised_ = 0;  ///< Records that stood in the last request.
    /// Whether the objects that the last request's memory points at are still there.
    bool remembersObjects_ = false;
    bool isRepetition_ = false;
    MergeCounts counts_;
};

}  // namespace kelto
