#pragma once

#include <cstddef>

#include "kelto/platform/RemoteNotifications.hpp"

namespace kelto {

class FakeRemoteNotifications final : public RemoteNotifications {
public:
    std::size_t registrations = 0;

    void registerApplication() override { ++registrations; }
};

}  // namespace kelto
