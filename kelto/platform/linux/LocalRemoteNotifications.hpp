#pragma once

#include "kelto/platform/RemoteNotifications.hpp"

namespace kelto {

/// Without a server nobody could send a notification, so there is nobody to register with.
class LocalRemoteNotifications final : public RemoteNotifications {
public:
    void registerApplication() override;
};

}  // namespace kelto
