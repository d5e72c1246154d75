#pragma once

#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"

namespace kelto {

/// Looks at everything that lies in a store's database, and adds what it finds to `report`: the
/// database's own structure, the tables, every row, and the payloads that lie in it. The connection
/// is in a read transaction, or nobody else writes. What is too damaged to be read is a finding and
/// ends the look at that table alone.
void inspectDatabase(const Schema& schema, SqliteDatabase& database, StoreReport& report);

/// The payloads whose bytes lie in files, in the order in which they came.
[[nodiscard]] std::vector<StoredFile> payloadFilesOf(SqliteDatabase& database);

/// The items that name a payload: "thing “Plan” (3a1c6c9e)", "thing “Plan” (3a1c6c9e) and 2 more",
/// "no item".
[[nodiscard]] std::string ownersOf(const Schema& schema,
                                   SqliteDatabase& database,
                                   const Digest& digest);

/// How a person may call a row: "thing “Plan” (3a1c6c9e)"; without a name or an identifier that can
/// be read, by its number.
[[nodiscard]] std::string spokenRow(const EntityDescription& entity,
                                    SqliteDatabase& database,
                                    std::int64_t row);

}  // namespace kelto
