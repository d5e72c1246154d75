#pragma once

namespace kelto {

/// The system's way to wake an application when its cloud data has changed. Main thread only.
class RemoteNotifications {
public:
    virtual ~RemoteNotifications() = default;
    virtual void registerApplication() = 0;
};

}  // namespace kelto
