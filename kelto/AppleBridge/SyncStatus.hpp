#pragma once

#include <optional>
#include <string>

#include "kelto/foundation/Date.hpp"
#include "kelto/platform/MirroringEvents.hpp"

namespace kelto {

/// What the host shows of the mirroring: moved by its events only.
struct SyncStatus {
    std::string status = "iCloud enabled — waiting for sync";
    std::optional<Date> lastSync;  ///< End of the last import or export that succeeded.

    /// An error becomes the status; an import or export that succeeded is the last sync; a running
    /// event shows as such; anything else changes nothing.
    void update(const MirroringEvent& event);
};

}  // namespace kelto
