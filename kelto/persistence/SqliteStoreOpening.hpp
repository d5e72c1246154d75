#pragma once

#include <memory>
#include <string>

#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// The folder of large payloads beside the store at `storePath`:
/// ".Kelto_SUPPORT/_EXTERNAL_DATA" beside "Kelto.store".
[[nodiscard]] std::string externalDataFolder(const std::string& storePath);

/// Opens the database of a store, makes it when there is none, and refuses whatever is not a store
/// of a format that this library knows, before anything is written.
[[nodiscard]] std::unique_ptr<SqliteDatabase> openStoreDatabase(const Schema& schema,
                                                                FileSystem& files,
                                                                const std::string& path);

/// Refuses a store that a newer version has taken over since it was opened.
void requireKnownFormat(SqliteDatabase& database);

}  // namespace kelto
