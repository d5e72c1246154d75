#include "tests/fuzz/FuzzTarget.hpp"

#include <array>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

std::span<const FuzzTarget> fuzzTargets() {
    static constexpr std::array<FuzzTarget, 9> targets{{
        {"canonical", fuzzCanonical, 200},
        {"errors", fuzzErrors, 200},
        {"exchange", fuzzExchange, 6},
        {"json", fuzzJson, 200},
        {"metadata", fuzzMetadata, 200},
        {"paths", fuzzPaths, 60},
        {"records", fuzzRecords, 200},
        {"store", fuzzStore, 12},
        {"urls", fuzzUrls, 200},
    }};
    return targets;
}

void require(bool isKept, std::string_view promise, std::string_view file, int line) {
    if (!isKept) fatalError(promise, file, line);
}

}  // namespace kelto
