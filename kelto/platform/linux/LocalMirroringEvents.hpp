#pragma once

#include "kelto/platform/MirroringEvents.hpp"

namespace kelto {

/// The events of a library that is mirrored nowhere: none ever comes.
class LocalMirroringEvents final : public MirroringEvents {
public:
    [[nodiscard]] std::unique_ptr<Observation> observe(Observer observer) override;
};

}  // namespace kelto
