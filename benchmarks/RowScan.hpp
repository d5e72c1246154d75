#pragma once

#include <string>

#include "benchmarks/Milliseconds.hpp"

namespace kelto::bench {

/// The time of the plainest way to read all rows of a store: a new connection, and `SELECT *` over
/// each table that holds records (Project, Tag, Thing and their links), all columns looked at.
[[nodiscard]] Milliseconds scanRows(const std::string& storePath);

}  // namespace kelto::bench
