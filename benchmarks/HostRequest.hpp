#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "benchmarks/HostSnapshot.hpp"

namespace kelto::bench {

/// How a host prints its snapshot.
struct RequestStyle {
    /// None: every record's keys in the host's usual order, so that the text of what has not
    /// changed stays the same. Else in an order that chance draws anew for every record.
    std::optional<std::uint64_t> keyOrderSeed;
    /// Only the record of this item instead of all.
    std::optional<std::size_t> onlyItem;
};

/// Prints the request of an exchange into `out`, whose memory is used again. The writer and its
/// order of keys are the host's own; fingerprints that the host knows are sent back.
void printRequest(std::string& out,
                  const HostSnapshot& host,
                  const std::string& storePath,
                  const RequestStyle& style = {});

}  // namespace kelto::bench
