#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kelto/platform/Platform.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/FakeCloudAccount.hpp"
#include "tests/support/FakeDiagnostics.hpp"
#include "tests/support/FakeEntitlements.hpp"
#include "tests/support/FakeEnvironment.hpp"
#include "tests/support/FakeGroupContainer.hpp"
#include "tests/support/FakeMirroringEvents.hpp"
#include "tests/support/FakeRemoteNotifications.hpp"
#include "tests/support/FaultyFileSystem.hpp"
#include "tests/support/ManualExecutor.hpp"
#include "tests/support/SeededRandom.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {

/// A whole platform for one test: fully entitled, somebody signed in, files on the real disk in a
/// folder of its own. Every piece can be reached and changed.
class FakePlatform {
public:
    explicit FakePlatform(std::uint64_t seed = 1);

    TemporaryFolder folder;
    ProductIdentity identity{.appGroup = "group.app.kelto", .iCloudContainer = "iCloud.app.kelto"};
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
    std::shared_ptr<SeededRandom> random;
    std::shared_ptr<FaultyFileSystem> files;  ///< Over the machine's own.
    std::shared_ptr<FakeEnvironment> environment = std::make_shared<FakeEnvironment>();
    std::shared_ptr<FakeEntitlements> entitlements = std::make_shared<FakeEntitlements>();
    std::shared_ptr<FakeGroupContainer> groupContainer = std::make_shared<FakeGroupContainer>();
    std::shared_ptr<FakeCloudAccount> account = std::make_shared<FakeCloudAccount>();
    std::shared_ptr<FakeRemoteNotifications> remoteNotifications =
        std::make_shared<FakeRemoteNotifications>();
    std::shared_ptr<FakeMirroringEvents> mirroringEvents = std::make_shared<FakeMirroringEvents>();
    std::shared_ptr<ManualExecutor> mainExecutor = std::make_shared<ManualExecutor>();
    std::shared_ptr<FakeDiagnostics> diagnostics = std::make_shared<FakeDiagnostics>();

    /// The group container's folder; not made yet.
    [[nodiscard]] std::string groupFolder() const { return folder.path("group"); }
    /// The one place where the store may be.
    [[nodiscard]] std::string storePath() const { return folder.path("group/Library/Kelto.store"); }
    /// The pieces as they are now, in one value.
    [[nodiscard]] Platform platform() const;
};

}  // namespace kelto
