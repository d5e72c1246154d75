#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "kelto/persistence/BackupArchive.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Writes one state of a store into one file (docs/store-format.md, "Backups"), while programs use
/// the store.
///
/// Payload files are copied without a lock: a file never changes under its name. The database is
/// copied first, and tells which files belong to its state. Should one have gone before its turn,
/// because a program has deleted its item meanwhile, the database is copied again; what was copied
/// by then stays, named by its digest. The last of these rounds holds the write lock.
class StoreBackup {
public:
    enum class Damaged : std::uint8_t { refuse, write };
    /// How many bytes of the backup are written, and about how many there will be.
    using Progress = std::function<void(std::uint64_t done, std::uint64_t all)>;

    /// `companions` are the names of the small files beside the store that belong to it, as far as
    /// they are there.
    StoreBackup(const Schema& schema,
                FileSystem& files,
                Clock& clock,
                Random& random,
                std::string storePath,
                std::vector<std::string> companions);

    /// The findings say what is damaged in what was to be saved; then the file is written only if
    /// that is wanted. It replaces one at `path` in one step, flushed and read back.
    [[nodiscard]] StoreReport write(const std::string& path,
                                    Damaged damaged,
                                    const Progress& progress);

private:
    void fill(const std::string& path, File& file, Damaged damaged);
    /// Copies the database and then the payloads that it names; false when some were not there.
    bool copyRound(BackupWriter& archive, SqliteDatabase& store, const std::string& copyPath);
    bool copyPayload(BackupWriter& archive, const StoredFile& payload);
    void copyWhole(BackupWriter& archive, const std::string& name, const std::string& path);
    void judge(const std::string& copyPath);
    void verify(const std::string& path);

    const Schema& schema_;
    FileSystem& files_;
    Clock& clock_;
    Random& random_;
    std::string storePath_;
    std::string externalFolder_;
    std::vector<std::string> companions_;
    Progress progress_;
    std::uint64_t expected_ = 0;
    std::unordered_set<Digest> copied_;
    std::unordered_set<Digest> changed_;  // copied, but not what they were
    std::unordered_set<Digest> gone_;     // in the last round
    StoreReport report_;
};

}  // namespace kelto
