#pragma once

#include <unordered_map>
#include <vector>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

template <typename Model>
using UniqueIndex = std::unordered_map<Uuid, Model*>;

/// The models by identifier. Two that share one stop the exchange: devices may each have made a
/// record of that identifier, and merging them would lose one.
template <typename Model>
[[nodiscard]] UniqueIndex<Model> unique(const std::vector<Model*>& models) {
    UniqueIndex<Model> index;
    index.reserve(models.size());
    for (Model* model : models) {
        if (!index.emplace(model->uuid(), model).second) {
            throw BridgeError(BridgeRefusal::duplicateIdentifiers);
        }
    }
    return index;
}

}  // namespace kelto
