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

/// Refuses an existing file that is not the database of a store, or of a newer format, by its first
/// bytes; an empty file may become one, and so may one whose making a power cut has interrupted.
/// The file is read, closed again and left as it is.
void requireStoreFile(FileSystem& files, const std::string& path);

/// Opens an existing store of any format that this library knows, to look at it: nothing is brought
/// up to date, and a log that another program has left stays as it is.
[[nodiscard]] std::unique_ptr<SqliteDatabase> openStoreToLook(FileSystem& files,
                                                              const std::string& path);

/// Refuses a store that a newer version has taken over since it was opened.
void requireKnownFormat(SqliteDatabase& database);

}  // namespace kelto
