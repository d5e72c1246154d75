#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace kelto::bench {

/// What a host looks at in a record of a response. Texts that are not there are empty.
struct ResponseRecord {
    std::string_view recordType;
    std::string_view uuid;
    std::string_view name;  ///< of a project or tag; of an item its title
    std::string_view data;
    std::string_view fingerprint;
    std::string_view fileFingerprint;
};

using RecordVisitor = std::function<void(std::size_t position, const ResponseRecord& record)>;

/// Reads a response and shows each of its records, in their order.
void forEachRecord(std::string_view response, const RecordVisitor& visit);

}  // namespace kelto::bench
