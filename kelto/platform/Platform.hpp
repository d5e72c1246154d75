#pragma once

#include <memory>
#include <string>

#include "kelto/platform/Clock.hpp"
#include "kelto/platform/CloudAccount.hpp"
#include "kelto/platform/Diagnostics.hpp"
#include "kelto/platform/Entitlements.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/GroupContainer.hpp"
#include "kelto/platform/MainExecutor.hpp"
#include "kelto/platform/MirroringEvents.hpp"
#include "kelto/platform/ProcessEnvironment.hpp"
#include "kelto/platform/Random.hpp"
#include "kelto/platform/RemoteNotifications.hpp"

namespace kelto {

/// The product's own identifiers, fixed when it is built.
struct ProductIdentity {
    std::string appGroup;         ///< For example "group.app.kelto".
    std::string iCloudContainer;  ///< Begins with "iCloud.".
};

/// Everything that the operating system and the cloud give, in one value: handed to the store, and
/// replaced as a whole or piece by piece by tests. Nothing in it is null.
struct Platform {
    ProductIdentity identity;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<Random> random;
    std::shared_ptr<FileSystem> files;
    std::shared_ptr<ProcessEnvironment> environment;
    std::shared_ptr<Entitlements> entitlements;
    std::shared_ptr<GroupContainer> groupContainer;
    std::shared_ptr<CloudAccount> account;
    std::shared_ptr<RemoteNotifications> remoteNotifications;
    std::shared_ptr<MirroringEvents> mirroringEvents;
    std::shared_ptr<MainExecutor> mainExecutor;
    std::shared_ptr<Diagnostics> diagnostics;

    /// The process's own, made on first use in a thread-safe way; lives until the process ends.
    /// Defined by the platform folder that the build has chosen, the one point that knows it.
    static const Platform& current();
};

}  // namespace kelto
