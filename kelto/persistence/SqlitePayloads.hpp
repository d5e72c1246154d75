#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kelto/persistence/FileIdentities.hpp"
#include "kelto/persistence/LostAndFound.hpp"
#include "kelto/persistence/PayloadStorage.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/HashingCopy.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Payloads of a store: few bytes in a table of the database, many in a file of their own in the
/// external folder, named by their digest. A file is complete and flushed before the row that names
/// it commits, and goes only after the commit that dropped its row.
class SqlitePayloads final : public PayloadStorage {
public:
    /// Up to this many bytes lie in the database: making a small file costs far more than its
    /// bytes.
    static constexpr std::size_t inlineLimitBytes = std::size_t{64} * 1024;

    SqlitePayloads(const Schema& schema,
                   SqliteDatabase& database,
                   FileSystem& files,
                   Clock& clock,
                   Random& random,
                   std::string externalFolder);

    [[nodiscard]] std::optional<Payload> seenBefore(const FileStatus& status) override;
    [[nodiscard]] ReceivedPayload receive(std::unique_ptr<File> source) override;
    [[nodiscard]] bool mayRemember(const FileStatus& status) override {
        return identities_.isTrustworthy(status);
    }
    [[nodiscard]] ReceivedPayload receive(HashedBytes read) override;
    [[nodiscard]] bool isSound(const Payload& payload, std::uint64_t size) override;
    void keep(ReceivedPayload& received) override;
    void copyTo(const Payload& payload, File& destination) override;
    void handOut(const Payload& payload, const std::string& name, OutgoingFiles& files) override;
    [[nodiscard]] std::uint64_t size(const Payload& payload) override;

    /// Within the store's transaction: removes the rows of those payloads that nobody names any
    /// more.
    void dropUnused(const std::vector<Payload>& released);
    /// Before the commit: the new files and their names reach the disk, and what was learnt of the
    /// host's files goes into the transaction.
    void flush();
    /// After the commit: the files of dropped rows are now suspects.
    void committed() noexcept;
    /// Before a rollback, while the write lock is still held: the files that came with the
    /// transaction go.
    void discardArrived() noexcept;
    /// After a rollback that has already let go of the write lock: those files are now suspects,
    /// since another program may have stored the same bytes meanwhile.
    void suspectArrived() noexcept;
    /// Another program has committed something: nothing is sure any more of what this one wrote.
    void othersHaveWritten() noexcept { justWrittenRows_.clear(); }
    /// Whether there are files that may have lost their row.
    [[nodiscard]] bool hasSuspects() const { return !suspects_.empty(); }
    /// Removes those suspects that no row names. The caller holds the write lock: without it,
    /// another program could take the same bytes into its own transaction in between, and lose
    /// them.
    void removeSuspects() noexcept;
    /// Removes files that no row names, left by a process that died; payloads among them are moved
    /// into `lostAndFound`, if there is one. The caller holds the write lock.
    void sweep(LostAndFound* lostAndFound);

private:
    [[nodiscard]] std::string filePath(const Digest& digest) const;
    [[nodiscard]] ReceivedPayload readToEnd(File& source);
    /// `fill` writes the bytes of the source into the file that it is given, and says what they
    /// were.
    template <typename Fill>
    [[nodiscard]] ReceivedPayload receiveIntoFile(const std::string& sourcePath, const Fill& fill);
    /// The stored file of a payload, for reading.
    [[nodiscard]] std::unique_ptr<File> opened(const Payload& payload, std::uint64_t size);
    void copyFile(const Payload& payload, std::uint64_t size, File& destination);
    /// Whether the stored file of that status is known to hold the bytes of its name.
    [[nodiscard]] bool isUnaltered(const Digest& digest, const FileStatus& status);
    /// What the row of a payload says.
    struct Stored {
        std::uint64_t size;
        bool isInFile;
    };
    /// The same with the bytes that lie in it, until the statement is used again.
    struct StoredBytes {
        std::uint64_t size;
        bool isInFile;
        Bytes bytes;
    };
    [[nodiscard]] StoredBytes storedBytes(const Payload& payload);
    /// Throws when the bytes of a row are not those of its digest.
    void requireIntact(const Payload& payload, const StoredBytes& row) const;
    [[nodiscard]] std::optional<Stored> find(const Digest& digest);
    /// Whether nothing is missing of what the storage would have to keep.
    [[nodiscard]] bool holds(const ReceivedPayload& received);
    /// Reads the file that was left unread, and believes what it finds.
    void readNow(ReceivedPayload& received);
    /// What the file system says of the file in its place.
    FileStatus moveIntoPlace(ReceivedPayload& received);
    /// Whether a file of that size stands there.
    [[nodiscard]] bool isWhole(const std::string& path, std::uint64_t size);
    /// Whether a row names the digest as one whose bytes lie in a file.
    [[nodiscard]] bool isNamed(const Digest& digest);
    void removeQuietly(const std::string& path) noexcept;

    FileSystem& files_;
    Random& random_;
    std::string externalFolder_;
    HashingCopy copy_;
    FileIdentities identities_;
    SqliteStatement select_;
    SqliteStatement selectBytes_;
    SqliteStatement insert_;
    SqliteStatement deleteUnused_;
    // Digests of large payloads, whose files:
    std::unordered_map<Digest, FileStatus> arrived_;  // were renamed into place in this transaction
    std::vector<Digest> dropped_;   // belong to rows that this transaction removes
    std::vector<Digest> suspects_;  // have perhaps no row any more
    /// Files that came with the last transaction, as they were left. Too young for the identities,
    /// but nobody else writes in our folder within a tick of the clock.
    std::unordered_map<Digest, FileStatus> justWritten_;
    // Digests of small payloads, whose bytes were put into the database, as they had been hashed:
    std::unordered_set<Digest> arrivedInRows_;    // in this transaction
    std::unordered_set<Digest> justWrittenRows_;  // in the last one
};

}  // namespace kelto
