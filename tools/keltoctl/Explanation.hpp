#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/MergeObserver.hpp"
#include "kelto/foundation/Json.hpp"

namespace kelto::ctl {

/// What an exchange would do with a request.
struct Explanation {
    std::vector<MergeDecision> decisions;
    std::string refusal;  ///< the sentence that would refuse all of it; empty when nothing would
    std::optional<std::size_t> refusedRecord;  ///< the place of the record that it is about
};

/// Lets the library's own merge decide about the request, on a copy of the library's database that
/// is thrown away. Not one of the four functions: no host does that, and an answer through them
/// would change the library. Main thread only.
[[nodiscard]] Explanation explain(std::string_view request);

/// A line for each decision, and what it went by.
[[nodiscard]] std::string printed(const Explanation& explanation);
[[nodiscard]] JsonValue toJson(const Explanation& explanation);

}  // namespace kelto::ctl
