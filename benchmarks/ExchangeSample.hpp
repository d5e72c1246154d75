#pragma once

#include <cstddef>
#include <string>

#include "benchmarks/Floor.hpp"

namespace kelto::bench {

/// Runs one exchange through the C functions on this thread's main loop, and answers its response.
/// An error envelope ends the program with its sentence.
[[nodiscard]] std::string exchange(const std::string& request, Milliseconds& time);

/// Ends the program unless the response has that many records and, for an edit, all edited titles.
void verify(const std::string& response, std::size_t records, std::size_t edited);

/// The path of the store in the App Group container.
[[nodiscard]] std::string storePath();

/// The most memory that this process has used so far, in bytes.
[[nodiscard]] std::size_t peakMemory();

}  // namespace kelto::bench
