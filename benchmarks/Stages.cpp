#include "benchmarks/Stages.hpp"

#include "kelto/AppleBridge/AppleStore.hpp"

namespace kelto::bench {

std::vector<Stage> lastStages() {
    const ExchangeStages& stages = AppleStore::shared().lastStages();
    return {{"reading", stages.reading},
            {"opening", stages.opening},
            {"merging", stages.merging},
            {"saving", stages.saving},
            {"exporting", stages.exporting}};
}

}  // namespace kelto::bench
