#pragma once

#include <string>
#include <vector>

#include "kelto/persistence/StoreFinding.hpp"

namespace kelto {

/// What mends one finding.
struct RepairStep {
    StoreFinding finding;
    std::string sentence;  ///< What would be done, for a person.
};

/// The steps that mend what can be mended of a report, in the order in which they belong; findings
/// without one are left out.
[[nodiscard]] std::vector<RepairStep> planRepair(const StoreReport& report);

}  // namespace kelto
