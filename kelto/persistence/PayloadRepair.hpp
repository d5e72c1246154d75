#pragma once

#include <string>
#include <vector>

#include "kelto/persistence/LostAndFound.hpp"
#include "kelto/persistence/RowRepair.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Mends the payloads of a store and their files, within a transaction of the caller's that keeps
/// everybody else from writing. Each step answers false when there was nothing to do any more, and
/// throws PlatformError when it cannot be done.
class PayloadRepair {
public:
    PayloadRepair(const Schema& schema,
                  FileSystem& files,
                  SqliteDatabase& database,
                  std::string externalFolder,
                  LostAndFound& lostAndFound,
                  RowRepair& rows);

    /// Of a row that names a payload without a row.
    bool mendReference(const StoreFinding& finding);
    bool mendPayload(const StoreFinding& finding);
    bool removeUnused(const StoreFinding& finding);
    bool moveStray(const StoreFinding& finding);

    /// After the commit: the files of rows that went with it.
    void moveFilesWithoutRow();
    /// The paths in "Lost and found" of what was put there.
    [[nodiscard]] const std::vector<std::string>& kept() const { return kept_; }

private:
    [[nodiscard]] bool bringBack(const Digest& digest);
    [[nodiscard]] std::vector<Digest> targetOf(const StoreFinding& finding);
    void detach(const Digest& digest);

    const Schema& schema_;
    FileSystem& files_;
    SqliteDatabase& database_;
    std::string externalFolder_;
    LostAndFound& lostAndFound_;
    RowRepair& rows_;
    std::vector<std::string> kept_;
    std::vector<Digest> withoutRow_;
};

}  // namespace kelto
