#include "kelto/AppleBridge/AppleStore.hpp"

#include <utility>

#include "kelto/AppleBridge/AccountBinding.hpp"
#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/CloudAvailability.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/HostMerge.hpp"
#include "kelto/AppleBridge/ServiceCall.hpp"
#include "kelto/AppleBridge/SnapshotExport.hpp"
#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/StoreErrors.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

constexpr std::string_view storeInGroup = "Library/Kelto.store";

}  // namespace

AppleStore& AppleStore::shared() {
    // Never destroyed: the host may still be in an exchange while static objects go.
    static AppleStore& store = *new AppleStore(Platform::current());
    return store;
}

AppleStore::AppleStore(Platform platform) : platform_(std::move(platform)) {}

Task<LargeText> AppleStore::exchange(LargeText text) {
    ExchangeReport report(*platform_.diagnostics, *platform_.clock, ++exchangeCount_);
    try {
        LargeText response = co_await answer(std::move(text), report);
        report.answered(response.size());
        lastStages_ = report.stages();
        co_return response;
    } catch (const std::exception& error) {
        report.refused(error);
        throw;
    }
}

Task<LargeText> AppleStore::answer(LargeText text, ExchangeReport& report) {
    const std::size_t bytes = text.size();
    const ExchangeRequest request(std::move(text), requestMemory_);
    report.received(bytes, request.records().size());
    requireProvisioned();
    const std::string fixedPath = fixedStorePath(request);
    const std::string account = co_await accountName();

    // From here on nothing waits: no other exchange can come between.
    bindToAccount(
        *platform_.files, *platform_.random, withoutLastPathComponent(fixedPath), account);
    co_return mergedSnapshot(container(request, fixedPath), request, report);
}

Task<Rehearsal> AppleStore::rehearse(LargeText text, std::string scratchFolder) const {
    const ExchangeRequest request(std::move(text));
    requireProvisioned();
    const std::string fixedPath = fixedStorePath(request);
    const std::string account = co_await accountName();
    requireAccount(*platform_.files, withoutLastPathComponent(fixedPath), account);
    requireSamePath(request);
    co_return rehearseMerge(platform_, fixedPath, request, scratchFolder);
}

void AppleStore::requireProvisioned() const {
    if (cloudAvailable(platform_) == 0) {
        throw BridgeError(BridgeRefusal::notProvisioned);
    }
}

LargeText AppleStore::mergedSnapshot(ModelContainer& library,
                                     const ExchangeRequest& request,
                                     ExchangeReport& report) {
    ModelContext context(library);
    try {
        HostMerge merge(context, request, *platform_.files, index_);
        merge.begin();
        report.opened();
        merge.merge();
        report.merged(merge.counts());
        auto memory = merge.save();
        report.saved();
        auto response = exportedSnapshot(library, request, memory);
        requestMemory_ = std::move(memory);
        report.exported(library.objectCount());
        return response;
    } catch (...) {
        requestMemory_.reset();
        responseMemory_.forget();
        throw;
    }
}

LargeText AppleStore::exportedSnapshot(ModelContainer& library,
                                       const ExchangeRequest& request,
                                       const std::shared_ptr<const RequestMemory>& merged) {
    const auto snapshotOf = [&](ModelContext& context) {
        SnapshotExport snapshot(
            context, request, *platform_.files, *platform_.random, responseMemory_);
        if (sweptDirectory_ != request.directory()) {
            snapshot.removeLeftovers();
            sweptDirectory_ = request.directory();
        }
        return snapshot.response(status(), lastSync(), merged);
    };
    try {
        // Copying payload files can take minutes, in which other programs go on.
        ModelContext reading(library, ModelContext::Access::read);
        return snapshotOf(reading);
    } catch (const PlatformError& error) {
        if (!isDamagedStore(error)) throw;
    }
    // One of them has deleted an item whose file was not copied yet. Of a state that nobody changes
    // meanwhile, only what is really damaged is missing.
    ModelContext alone(library);
    return snapshotOf(alone);
}

std::string AppleStore::fixedStorePath(const ExchangeRequest& request) const {
    const auto group = platform_.groupContainer->path(platform_.identity.appGroup);
    if (group) {
        FileSystem& files = *platform_.files;
        std::string expected =
            standardizedPath(absolutePath(files, joinedPath(*group, storeInGroup)));
        const std::string requested = standardizedPath(absolutePath(files, request.storePath()));
        if (requested == expected) return expected;
    }
    throw BridgeError(BridgeRefusal::wrongStorePath);
}

void AppleStore::requireSamePath(const ExchangeRequest& request) const {
    if (storePath_ && *storePath_ != request.storePath()) {
        throw BridgeError(BridgeRefusal::otherStorePath);
    }
}

Task<std::string> AppleStore::accountName() const {
    CloudAccount& service = *platform_.account;
    const AccountStatus status = co_await ServiceCall<AccountStatus>(
        *platform_.mainExecutor,
        [&service](auto completion) { service.accountStatus(std::move(completion)); });
    if (status != AccountStatus::available) {
        throw BridgeError(BridgeRefusal::notSignedIn);
    }
    const auto recordName = co_await ServiceCall<std::optional<std::string>>(
        *platform_.mainExecutor,
        [&service](auto completion) { service.fetchUserRecordName(std::move(completion)); });
    if (!recordName) fatalError("the account service gave neither a record nor an error");
    co_return *recordName;
}

ModelContainer& AppleStore::container(const ExchangeRequest& request,
                                      const std::string& fixedPath) {
    requireSamePath(request);
    if (container_) return *container_;
    platform_.remoteNotifications->registerApplication();
    observeMirroring();
    container_ = std::make_unique<ModelContainer>(
        librarySchema(),
        std::make_unique<SqliteStore>(
            librarySchema(), platform_.files, platform_.clock, platform_.random, fixedPath),
        platform_.clock,
        platform_.random);
    storePath_ = request.storePath();
    // Of account markers. One that another program is just writing may go with them: it knows.
    removeTemporaryFiles(*platform_.files, withoutLastPathComponent(fixedPath));
    return *container_;
}

void AppleStore::observeMirroring() {
    observer_ = platform_.mirroringEvents->observe(
        [sync = sync_, main = platform_.mainExecutor](const MirroringNotification& notification) {
            if (!notification.event) return;
            main->post([sync, event = *notification.event] { sync->update(event); });
        });
}

}  // namespace kelto
