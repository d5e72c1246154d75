#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// What an answer holds otherwise than the one before it.
struct Difference {
    struct Entry {
        std::string_view recordType;
        std::string id;
        std::string name;  ///< a thing's display title
    };
    std::vector<Entry> added;
    std::vector<Entry> changed;
    std::vector<Entry> gone;

    [[nodiscard]] bool isEmpty() const { return added.empty() && changed.empty() && gone.empty(); }
};

/// Things are compared by their fingerprint, which covers their fields and their payloads.
[[nodiscard]] Difference difference(const Snapshot& before, const Snapshot& after);

/// {"added": [...], "changed": [...], "gone": [...]}
[[nodiscard]] JsonValue toJson(const Difference& difference);

}  // namespace kelto::ctl
