#include "kelto/platform/linux/LocalRemoteNotifications.hpp"

namespace kelto {

void LocalRemoteNotifications::registerApplication() {}

}  // namespace kelto
