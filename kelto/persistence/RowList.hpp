#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelto {

class ModelObject;

// The value of a list column: the row numbers of the objects in list order, as a JSON array,
// "[3,17]". A text, so that a person can read it and SQLite's json_each can join it.

[[nodiscard]] std::string rowListOf(const std::vector<ModelObject*>& objects);

/// The row numbers of a stored list. Blanks around them are allowed, as other programs write them;
/// anything else but a list of integers is a damaged store's error.
[[nodiscard]] std::vector<std::int64_t> rowsOf(std::string_view list);
/// The same, behind those that are in `rows`.
void appendRowsOf(std::string_view list, std::vector<std::int64_t>& rows);

}  // namespace kelto
