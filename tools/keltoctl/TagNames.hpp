#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// Tags that a person named: those the library has, and new ones for the rest.
struct TagsByName {
    std::vector<std::string> ids;  ///< in the order of the names, each once
    std::vector<TagRecord> added;  ///< the new ones, to be sent along
};

[[nodiscard]] TagsByName tagsByName(const Snapshot& snapshot,
                                    const std::vector<std::string>& names,
                                    std::int64_t nowMilliseconds);

}  // namespace kelto::ctl
