#pragma once

#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"

namespace kelto {

/// Looks at every row of one entity, in a store of the present format: values that no program can
/// show, lists that name rows that are not there, identifiers that are there twice, rows that lie
/// in themselves. Adds what it finds to `report`; throws PlatformError where the database cannot be
/// read.
void inspectRows(const EntityDescription& entity, SqliteDatabase& database, StoreReport& report);

}  // namespace kelto
