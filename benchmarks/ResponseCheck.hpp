#pragma once

#include <string_view>

#include "benchmarks/HostSnapshot.hpp"

namespace kelto::bench {

enum class ReceivedFiles {
    checked,
    ignored,  ///< For a host that claims to have all files, and so gets none.
};

/// Throws unless the response holds exactly the host's library: every record in its place with its
/// identifier and its title, and every payload file there with its size. Of files that were written
/// in this exchange, some are read and compared byte for byte.
void checkResponse(std::string_view response, const HostSnapshot& host, ReceivedFiles files);

}  // namespace kelto::bench
