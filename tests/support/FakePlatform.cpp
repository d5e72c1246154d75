#include "tests/support/FakePlatform.hpp"

#include "kelto/platform/linux/PosixFileSystem.hpp"

namespace kelto {

FakePlatform::FakePlatform(std::uint64_t seed)
    : random(std::make_shared<SeededRandom>(seed)),
      files(std::make_shared<FaultyFileSystem>(std::make_shared<PosixFileSystem>())) {
    entitlements->grantAll(identity);
    groupContainer->folders[identity.appGroup] = groupFolder();
}

Platform FakePlatform::platform() const {
    return {
        .identity = identity,
        .clock = clock,
        .random = random,
        .files = files,
        .environment = environment,
        .entitlements = entitlements,
        .groupContainer = groupContainer,
        .account = account,
        .remoteNotifications = remoteNotifications,
        .mirroringEvents = mirroringEvents,
        .mainExecutor = mainExecutor,
        .diagnostics = diagnostics,
    };
}

}  // namespace kelto
