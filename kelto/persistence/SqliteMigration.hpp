#pragma once

#include "kelto/persistence/SqliteDatabase.hpp"

namespace kelto {

/// Brings the tables of a store of any earlier format to the present one. Belongs into a
/// transaction of the caller's, so that a store is of one format or of the other.
void migrateTables(SqliteDatabase& database, std::int64_t fromFormat);

}  // namespace kelto
