#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Which bytes the host's files held when they were last read. The host names the same files at
/// every exchange; a file whose device, inode, size, modification and change time are those of then
/// holds the bytes of then, and need not be read again.
///
/// An entry is a fact about a file, whoever wrote it and whatever became of the unit of work in
/// which it was learnt. The table is read when it is first needed; after that each process goes by
/// what it knows itself.
///
/// Not seen: bytes that somebody changes through a mapping of the file that was already written to
/// before it was read here, until the system writes them back.
class FileIdentities {
public:
    /// A file whose times are not older than this may change once more without a new time, so it is
    /// not remembered. The coarsest times in use are those of FAT, in steps of two seconds; other
    /// file systems go in steps of one second, or of the kernel's tick.
    static constexpr std::int64_t grainNanoseconds = 2'000'000'000;
    /// New entries push out old ones: when there are more than twice as many as were used since the
    /// last commit, and this many besides, all that were not used are dropped.
    static constexpr std::size_t spareEntries = 8192;

    /// The table, for the making of a store.
    static constexpr std::string_view createTable =
        R"(CREATE TABLE IF NOT EXISTS "FileIdentity" ("device" INTEGER NOT NULL, )"
        R"("inode" INTEGER NOT NULL, "size" INTEGER NOT NULL, "modified" INTEGER NOT NULL, )"
        R"("changed" INTEGER NOT NULL, "digest" BLOB NOT NULL CHECK (length("digest") = 32), )"
        R"(PRIMARY KEY ("device", "inode")) STRICT, WITHOUT ROWID)";

    FileIdentities(SqliteDatabase& database, Clock& clock);

    /// The digest of a file's bytes; nullptr when no file of exactly this identity was read. Good
    /// until the next call. A look-up in memory, but for the first one.
    [[nodiscard]] const Digest* find(const FileStatus& status);
    /// Whether a file that is read from now on may be remembered by what the file system says of it
    /// now: if that is still so when it has been read, it was the same all the time.
    [[nodiscard]] bool isTrustworthy(const FileStatus& status);
    /// Only for what isTrustworthy() and has not changed since.
    void remember(const FileStatus& status, const Digest& digest);
    void forget(const FileStatus& status);

    /// Within the store's transaction: writes what is new, if anything is.
    void write();
    /// After its commit. After a rollback all that is new waits for the next one.
    void committed() noexcept;

private:
    struct Key {
        std::uint64_t device;
        std::uint64_t inode;
        friend bool operator==(const Key&, const Key&) = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept;
    };
    struct Entry {
        std::uint64_t size;
        std::int64_t modifiedNanoseconds;
        std::int64_t changedNanoseconds;
        Digest digest;
        std::uint64_t lastUse;  ///< The period (between two commits) in which it was used last.
    };

    static Key keyOf(const FileStatus& status) { return {status.device, status.inode}; }
    void loadOnce();
    void markUsed(Entry& entry);
    void writeRow(const Key& key, const Entry& entry);
    void deleteRow(const Key& key);
    void dropUnused();

    SqliteDatabase& database_;
    Clock& clock_;
    SqliteStatement insert_;
    SqliteStatement delete_;
    bool isLoaded_ = false;
    std::unordered_map<Key, Entry, KeyHash> entries_;
    std::vector<Key> unwritten_;  // remembered since the last commit
    std::vector<Key> forgotten_;  // whose rows have to go
    std::vector<Key> dropped_;    // whose rows this transaction has removed for want of use
    std::uint64_t period_ = 1;
    std::size_t usedInPeriod_ = 0;
};

}  // namespace kelto
