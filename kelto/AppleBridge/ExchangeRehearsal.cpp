#include "kelto/AppleBridge/ExchangeRehearsal.hpp"

#include <functional>
#include <memory>
#include <set>
#include <utility>

#include "kelto/AppleBridge/HostMerge.hpp"
#include "kelto/AppleBridge/LibraryIndex.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/ModelContainer.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/platform/FileDigest.hpp"

namespace kelto {

namespace {

/// The payloads of a store whose payload files stayed where they are. What is received is hashed,
/// since its digest may decide, and kept nowhere.
class HashedPayloads final : public PayloadStorage {
public:
    explicit HashedPayloads(PayloadStorage& known) : known_(known) {}

    [[nodiscard]] std::optional<Payload> seenBefore(const FileStatus& status) override {
        return known_.seenBefore(status);
    }
    [[nodiscard]] ReceivedPayload receive(std::unique_ptr<File> source) override {
        const FileStatus status = source->status();
        if (const auto payload = seenBefore(status)) return {*payload, status.size, nullptr};
        const FileDigest read = digestToEnd(*source);
        return {Payload{read.digest}, read.size, nullptr};
    }
    [[nodiscard]] bool mayRemember(const FileStatus&) override { return false; }
    [[nodiscard]] ReceivedPayload receive(HashedBytes read) override {
        return {Payload{read.digest}, read.bytes.size(), nullptr};
    }
    [[nodiscard]] bool isSound(const Payload&, std::uint64_t) override { return true; }
    void keep(ReceivedPayload&) override {}
    void copyTo(const Payload&, File&) override { fatalError("a rehearsal has no payload bytes"); }
    void handOut(const Payload&, const std::string&, OutgoingFiles&) override {
        fatalError("a rehearsal has no payload bytes");
    }
    [[nodiscard]] std::uint64_t size(const Payload& payload) override {
        return known_.size(payload);
    }

private:
    PayloadStorage& known_;
};

/// A store that is read and never written.
class RehearsalStore final : public PersistentStore {
public:
    explicit RehearsalStore(std::unique_ptr<PersistentStore> copy)
        : copy_(std::move(copy)), payloads_(copy_->payloads()) {}

    [[nodiscard]] ForeignChanges begin() override { return copy_->begin(); }
    [[nodiscard]] ForeignChanges beginReading() override { return copy_->beginReading(); }
    void load(const EntityDescription& entity,
              const RowRange& rows,
              const std::function<void(std::int64_t, RowReader&)>& sink) override {
        copy_->load(entity, rows, sink);
    }
    [[nodiscard]] std::int64_t lastRow(const EntityDescription& entity) override {
        return copy_->lastRow(entity);
    }
    void commit(const ChangeSet&) override { fatalError("a rehearsal saves nothing"); }
    void rollback() noexcept override { copy_->rollback(); }
    [[nodiscard]] PayloadStorage& payloads() override { return payloads_; }

private:
    std::unique_ptr<PersistentStore> copy_;
    HashedPayloads payloads_;
};

/// Keeps what the merge tells.
class DecisionList final : public MergeObserver {
public:
    explicit DecisionList(Rehearsal& rehearsal) : rehearsal_(rehearsal) {}

    void looksAt(std::optional<std::size_t> record) override { rehearsal_.refusedRecord = record; }
    void decided(const MergeDecision& decision) override {
        MergeDecision& kept = rehearsal_.decisions.emplace_back(decision);
        const bool isFirst = told_.insert({decision.type, decision.identifier}).second;
        if (decision.reason == MergeReason::isNew && !isFirst) {
            kept.reason = MergeReason::isJustMade;
        }
    }

private:
    Rehearsal& rehearsal_;
    std::set<std::pair<RecordType, Uuid>> told_;
};

std::unique_ptr<PersistentStore> copyOfStore(const Platform& platform,
                                             const std::string& storePath,
                                             const std::string& scratchFolder) {
    FileSystem& files = *platform.files;
    const std::string copyPath = joinedPath(scratchFolder, "Kelto.store");
    if (files.status(storePath)) {
        (void)files.create(copyPath);  // here rather than by the database: nobody else may read it
        openStoreToLook(files, storePath)->copyTo(copyPath);
    }
    return std::make_unique<RehearsalStore>(std::make_unique<SqliteStore>(
        librarySchema(), platform.files, platform.clock, platform.random, copyPath));
}

}  // namespace

Rehearsal rehearseMerge(const Platform& platform,
                        const std::string& storePath,
                        const ExchangeRequest& request,
                        const std::string& scratchFolder) {
    ModelContainer library(librarySchema(),
                           copyOfStore(platform, storePath, scratchFolder),
                           platform.clock,
                           platform.random);
    ModelContext context(library);
    LibraryIndex index;
    Rehearsal rehearsal;
    DecisionList list(rehearsal);
    HostMerge merge(context, request, *platform.files, index, &list);
    try {
        merge.begin();
        merge.merge();
        rehearsal.refusedRecord.reset();
    } catch (const std::exception&) {
        rehearsal.refusal = std::current_exception();
    }
    return rehearsal;
}

}  // namespace kelto
