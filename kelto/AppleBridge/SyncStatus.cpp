#include "kelto/AppleBridge/SyncStatus.hpp"

#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

void SyncStatus::update(const MirroringEvent& event) {
    if (event.error) {
        // It becomes a part of the response, and foreign messages are not always UTF-8.
        status = "iCloud: " + repairedUtf8(cloudErrorDescription(*event.error));
        return;
    }
    if (!event.endDate) {
        status = "Syncing with iCloud…";
        return;
    }
    const bool movesData = event.type == MirroringEvent::Type::import ||
                           event.type == MirroringEvent::Type::exportToCloud;
    if (!event.succeeded || !movesData) return;
    lastSync = event.endDate;
    status = "iCloud enabled";
}

}  // namespace kelto
