#pragma once

#include <string>
#include <string_view>

#include "kelto/AppleBridge/UniqueIndex.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"

namespace kelto {

/// The identifier of the conflict copy of an item in the state of that fingerprint: always the same
/// for the same two, so that repeated exchanges never pile up copies.
[[nodiscard]] Uuid conflictIdentifier(const Uuid& thing, std::string_view fingerprint);

/// "notes.final.md" becomes "notes.final (iCloud conflict).md"; the empty name stays empty.
[[nodiscard]] std::string conflictFileName(std::string_view fileName);

/// The metadata without the tie to the linked file; a text that is no JSON object stays as it is.
[[nodiscard]] std::string conflictMetadata(std::string_view metadataJSON);

/// Keeps the store's version of an item that both sides have changed as a separate item, before the
/// host's values are applied to the item itself. Does nothing when that was done before.
void preserveConflict(const Thing& thing,
                      std::string_view fingerprint,
                      UniqueIndex<Thing>& things,
                      ModelContext& context);

}  // namespace kelto
