#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// Something that the mirroring to the cloud has begun or ended.
struct MirroringEvent {
    enum class Type : std::int64_t { setup = 0, import = 1, exportToCloud = 2 };

    Type type = Type::setup;
    bool succeeded = false;
    std::optional<Date> endDate;  ///< None while the event runs.
    std::optional<PlatformError> error;
};

/// A notification as the platform posts it: it may lack the event.
struct MirroringNotification {
    std::optional<MirroringEvent> event;
};

/// Where mirroring events come from.
class MirroringEvents {
public:
    /// Ends the observation when it is destroyed. Must not outlive the source.
    class Observation {
    public:
        virtual ~Observation() = default;
    };
    using Observer = std::function<void(const MirroringNotification&)>;

    virtual ~MirroringEvents() = default;
    /// `observer` is called on the main thread, once for each notification.
    [[nodiscard]] virtual std::unique_ptr<Observation> observe(Observer observer) = 0;
};

}  // namespace kelto
