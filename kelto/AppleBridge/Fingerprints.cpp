#include "kelto/AppleBridge/Fingerprints.hpp"

#include <cstddef>
#include <vector>

#include "kelto/AppleBridge/StoredFingerprints.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

void rememberFingerprints(std::span<const Thing* const> things) {
    std::vector<const Thing*> missing;
    for (const Thing* thing : things) {
        if (!thing->derivedDigests()) missing.push_back(thing);
    }
    std::vector<DerivedDigests> fingerprints(missing.size());
    constexpr std::size_t stride = 64;
    shareWork(missing.size(), stride, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const Thing& thing = *missing[i];
            fingerprints[i] = hasSoundStoredFingerprints(thing) ? *thing.storedDigests()
                                                                : computedFingerprints(thing);
        }
    });
    for (std::size_t i = 0; i < missing.size(); ++i) missing[i]->remember(fingerprints[i]);
}

}  // namespace kelto
