#include "kelto/platform/linux/LocalMirroringEvents.hpp"

namespace kelto {

std::unique_ptr<MirroringEvents::Observation> LocalMirroringEvents::observe(Observer) {
    return std::make_unique<Observation>();
}

}  // namespace kelto
