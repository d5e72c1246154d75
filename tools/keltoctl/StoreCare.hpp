#pragma once

#include <string>
#include <vector>

#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/persistence/StoreRepair.hpp"
#include "kelto/persistence/StoreRestore.hpp"
#include "kelto/platform/Platform.hpp"

namespace kelto::ctl {

// The one place where keltoctl touches the library's files itself instead of asking the library:
// looking a store over, mending it, saving it in one file, and putting it back. It needs no
// exchange, and works beside hosts that are running. Failures are PlatformErrors, whose texts are
// sentences.

/// Looks over the store at `storePath`; shows how far it is on a terminal.
[[nodiscard]] StoreReport inspectStore(const std::string& storePath);

/// The same for a store that somebody names: the folder around it may hold anything, and is neither
/// judged nor changed.
[[nodiscard]] StoreReport inspectStoreAlone(const std::string& storePath);

[[nodiscard]] RepairOutcome repairStore(const std::string& storePath,
                                        const std::vector<RepairStep>& steps);

/// Writes a backup to `file`, which it replaces. The findings say what is damaged in the library;
/// then the file is written only with `evenIfDamaged`.
[[nodiscard]] StoreReport backUpStore(const std::string& storePath,
                                      const std::string& file,
                                      bool evenIfDamaged);

/// What the findings of such a backup would be; nothing is written.
[[nodiscard]] StoreReport inspectForBackup(const std::string& storePath);

/// A backup on its way to where a library is.
class Restoring {
public:
    explicit Restoring(const std::string& storePath);

    [[nodiscard]] StoreRestore& restore() { return restore_; }
    [[nodiscard]] StoreReport unpack(const std::string& file);

private:
    StoreRestore restore_;
};

}  // namespace kelto::ctl
