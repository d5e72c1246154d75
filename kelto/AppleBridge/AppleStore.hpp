#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kelto/AppleBridge/ExchangeRehearsal.hpp"
#include "kelto/AppleBridge/ExchangeReport.hpp"
#include "kelto/AppleBridge/ExchangeStages.hpp"
#include "kelto/AppleBridge/LibraryIndex.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/AppleBridge/ResponseMemory.hpp"
#include "kelto/AppleBridge/SyncStatus.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/Task.hpp"
#include "kelto/persistence/ModelContainer.hpp"
#include "kelto/platform/Platform.hpp"

namespace kelto {

/// The one object that owns the library's store: every exchange passes through it. Its persistent
/// container is made by the first exchange that passes the opening checks, and then kept, at one
/// place, until the process ends. Main thread only.
class AppleStore {
public:
    /// The process's own store, made on first use.
    static AppleStore& shared();

    /// A store of its own, for tests.
    explicit AppleStore(Platform platform);
    AppleStore(const AppleStore&) = delete;
    AppleStore& operator=(const AppleStore&) = delete;

    /// One exchange: the request's text in, the response's text out. Throws a BridgeError for a
    /// refusal and a PlatformError for a failure; the store is then as it was, except that a
    /// failure to write payload files for the host comes after the host's records were saved. Waits
    /// for others at two points only, both for the account service. The store outlives the task.
    [[nodiscard]] Task<LargeText> exchange(LargeText request);

    /// What exchange() would do with a request, without doing any of it: the same checks, then the
    /// same merge into a copy of the store (see rehearseMerge). Throws what would refuse the
    /// request before the merge. `scratchFolder` is private, and the caller's to remove.
    [[nodiscard]] Task<Rehearsal> rehearse(LargeText request, std::string scratchFolder) const;

    /// Of the last exchange that came to an answer.
    [[nodiscard]] const ExchangeStages& lastStages() const { return lastStages_; }

    [[nodiscard]] const std::string& status() const { return sync_->status; }
    [[nodiscard]] const std::optional<Date>& lastSync() const { return sync_->lastSync; }

private:
    void requireProvisioned() const;
    /// The store is opened once, and never at another path.
    void requireSamePath(const ExchangeRequest& request) const;
    /// The exchange itself; the report outlives it.
    [[nodiscard]] Task<LargeText> answer(LargeText request, ExchangeReport& report);
    /// The store's own location; a request that names another is refused.
    [[nodiscard]] std::string fixedStorePath(const ExchangeRequest& request) const;
    [[nodiscard]] Task<std::string> accountName() const;
    /// The container, opened on first use.
    [[nodiscard]] ModelContainer& container(const ExchangeRequest& request,
                                            const std::string& fixedPath);
    void observeMirroring();
    /// Merges the host's records and answers the snapshot. Waits for nobody.
    [[nodiscard]] LargeText mergedSnapshot(ModelContainer& library,
                                           const ExchangeRequest& request,
                                           ExchangeReport& report);

    /// The answer, with the files of what the host does not hold.
    [[nodiscard]] LargeText exportedSnapshot(ModelContainer& library,
                                             const ExchangeRequest& request,
                                             const std::shared_ptr<const RequestMemory>& merged);

    Platform platform_;
    std::unique_ptr<ModelContainer> container_;
    std::optional<std::string> storePath_;
    std::unique_ptr<MirroringEvents::Observation> observer_;
    // Shared with updates that are on their way through the main executor.
    std::shared_ptr<SyncStatus> sync_ = std::make_shared<SyncStatus>();

    // What the last exchange has left behind, so that the next one need only look at differences.
    LibraryIndex index_;
    std::shared_ptr<const RequestMemory> requestMemory_;
    ResponseMemory responseMemory_;
    std::string sweptDirectory_;  // the exchange folder that was last rid of leftovers
    ExchangeStages lastStages_;
    std::int64_t exchangeCount_ = 0;
};

}  // namespace kelto
