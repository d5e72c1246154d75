#pragma once

#include <string>
#include <vector>

#include "kelto/persistence/LostAndFound.hpp"
#include "kelto/persistence/PayloadRepair.hpp"
#include "kelto/persistence/RepairPlan.hpp"
#include "kelto/persistence/RowRepair.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// What a repair has done.
struct RepairOutcome {
    std::size_t done = 0;
    /// What was not done, and why: a sentence each.
    std::vector<std::string> left;
    /// Where what was taken away lies now; none when nothing was.
    std::vector<std::string> kept;
};

/// Mends a store, one finding after the other, in one transaction. Whatever is taken out of it (a
/// value, a list, bytes, a file) is written down or moved into "Lost and found" first. Each step
/// looks again whether the finding still holds: other programs may have been at work since.
class StoreRepair {
public:
    StoreRepair(const Schema& schema,
                FileSystem& files,
                Clock& clock,
                Random& random,
                const std::string& storePath);

    /// Waits for another program's work, but not for ever. Throws PlatformError when the store
    /// cannot be written; it is then as it was before.
    [[nodiscard]] RepairOutcome run(const std::vector<RepairStep>& steps);

private:
    /// False when there was nothing to do any more.
    bool mend(const StoreFinding& finding);
    bool mendReference(const StoreFinding& finding);

    FileSystem& files_;
    Clock& clock_;
    SqliteDatabase database_;
    LostAndFound lostAndFound_;
    RowRepair rows_;
    PayloadRepair payloads_;
};

}  // namespace kelto
