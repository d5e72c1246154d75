#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace kelto::bench {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// What is new in an exchange, and so has to be stored whoever does it.
struct NewWork {
    std::vector<std::string> payloadPaths;  ///< Read, hashed, stored and written out once each.
    std::size_t rows = 0;                   ///< Written with a prepared statement.
};

/// The least that any program does for the same exchange, with the fastest primitives at hand:
/// reads the request's JSON once, asks the file system once about each payload that it names,
/// writes the new payloads and rows in one durable transaction, prints a response of the same texts
/// once. No merge, no model. `scratchFolder` is an empty folder of this run.
[[nodiscard]] Milliseconds floorOf(const std::string& request,
                                   const NewWork& work,
                                   const std::string& scratchFolder);

}  // namespace kelto::bench
