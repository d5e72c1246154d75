#include "kelto/platform/Platform.hpp"
#include "kelto/platform/linux/BuildEntitlements.hpp"
#include "kelto/platform/linux/GlibDiagnostics.hpp"
#include "kelto/platform/linux/GlibMainExecutor.hpp"
#include "kelto/platform/linux/JsonEntitlements.hpp"
#include "kelto/platform/linux/LocalAccount.hpp"
#include "kelto/platform/linux/LocalMirroringEvents.hpp"
#include "kelto/platform/linux/LocalRemoteNotifications.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "kelto/platform/linux/SystemClock.hpp"
#include "kelto/platform/linux/SystemEnvironment.hpp"
#include "kelto/platform/linux/SystemRandom.hpp"
#include "kelto/platform/linux/XdgGroupContainer.hpp"

namespace kelto {

namespace {

Platform linuxPlatform() {
    const auto environment = std::make_shared<SystemEnvironment>();
    return {
        .identity = {.appGroup = KELTO_APP_GROUP, .iCloudContainer = KELTO_ICLOUD_CONTAINER},
        .clock = std::make_shared<SystemClock>(),
        .random = std::make_shared<SystemRandom>(),
        .files = std::make_shared<PosixFileSystem>(),
        .environment = environment,
        .entitlements = std::make_shared<JsonEntitlements>(buildEntitlementsJson()),
        .groupContainer = std::make_shared<XdgGroupContainer>(environment),
        .account = std::make_shared<LocalAccount>(),
        .remoteNotifications = std::make_shared<LocalRemoteNotifications>(),
        .mirroringEvents = std::make_shared<LocalMirroringEvents>(),
        .mainExecutor = std::make_shared<GlibMainExecutor>(),
        .diagnostics = std::make_shared<GlibDiagnostics>(),
    };
}

}  // namespace

const Platform& Platform::current() {
    // Never destroyed: while the process ends, other threads may still call in, and the main
    // context may still hold our source.
    static const Platform& platform = *new Platform(linuxPlatform());
    return platform;
}

}  // namespace kelto
