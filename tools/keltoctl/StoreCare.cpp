#include "tools/keltoctl/StoreCare.hpp"

#include <algorithm>
#include <array>

#include "kelto/AppleBridge/AccountBinding.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/StoreBackup.hpp"
#include "kelto/persistence/StoreInspection.hpp"
#include "tools/keltoctl/Progress.hpp"

namespace kelto::ctl {

namespace {

/// What lies beside a store and belongs to it.
std::vector<std::string> companionsOfStore() {
    return {std::string(accountMarkerName)};
}

}  // namespace

StoreReport inspectStore(const std::string& storePath) {
    ByteProgress progress("Checking");
    FileSystem& files = *Platform::current().files;
    StoreInspection inspection(librarySchema(), files, absolutePath(files, storePath));
    return inspection.run(
        [&](std::uint64_t done, std::uint64_t all) { progress.reach(done, all); });
}

StoreReport inspectStoreAlone(const std::string& storePath) {
    StoreReport report = inspectStore(storePath);
    const std::string folder(
        withoutLastPathComponent(absolutePath(*Platform::current().files, storePath)));
    std::erase_if(report.findings, [&](const StoreFinding& finding) {
        return finding.kind == StoreFinding::Kind::permissions && finding.path == folder;
    });
    return report;
}

StoreReport inspectForBackup(const std::string& storePath) {
    using Kind = StoreFinding::Kind;
    constexpr std::array notInBackup = {
        Kind::unusedPayload, Kind::usedNumber, Kind::stray, Kind::leftover, Kind::permissions};
    StoreReport report = inspectStore(storePath);
    std::erase_if(report.findings, [&](const StoreFinding& finding) {
        return std::find(notInBackup.begin(), notInBackup.end(), finding.kind) != notInBackup.end();
    });
    return report;
}

RepairOutcome repairStore(const std::string& storePath, const std::vector<RepairStep>& steps) {
    const Platform& platform = Platform::current();
    StoreRepair repair(librarySchema(),
                       *platform.files,
                       *platform.clock,
                       *platform.random,
                       absolutePath(*platform.files, storePath));
    return repair.run(steps);
}

StoreReport backUpStore(const std::string& storePath, const std::string& file, bool evenIfDamaged) {
    const Platform& platform = Platform::current();
    ByteProgress progress("Writing");
    StoreBackup backup(librarySchema(),
                       *platform.files,
                       *platform.clock,
                       *platform.random,
                       storePath,
                       companionsOfStore());
    return backup.write(absolutePath(*platform.files, file),
                        evenIfDamaged ? StoreBackup::Damaged::write : StoreBackup::Damaged::refuse,
                        [&](std::uint64_t done, std::uint64_t all) { progress.reach(done, all); });
}

Restoring::Restoring(const std::string& storePath)
    : restore_(librarySchema(),
               *Platform::current().files,
               *Platform::current().clock,
               *Platform::current().random,
               storePath,
               companionsOfStore()) {}

StoreReport Restoring::unpack(const std::string& file) {
    ByteProgress progress("Unpacking");
    return restore_.unpack(
        absolutePath(*Platform::current().files, file),
        [&](std::uint64_t done, std::uint64_t all) { progress.reach(done, all); });
}

}  // namespace kelto::ctl
