#pragma once

#include <string>
#include <vector>

#include "benchmarks/Row.hpp"

namespace kelto::bench {

/// All rows for people: the workloads, then what does not fit their columns.
[[nodiscard]] std::string tables(const std::vector<Row>& rows);
/// All rows for machines: one JSON array.
[[nodiscard]] std::string jsonOf(const std::vector<Row>& rows);

}  // namespace kelto::bench
