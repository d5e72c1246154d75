#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kelto/persistence/BackupArchive.hpp"
#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Puts a library out of a backup into its place, whole or not at all: it is unpacked and looked
/// over in a folder beside the place first, and what stood in the place is kept under another name.
class StoreRestore {
public:
    /// How many bytes have been unpacked or looked over, and how many there are.
    using Progress = std::function<void(std::uint64_t done, std::uint64_t all)>;

    /// `companions` as of StoreBackup.
    StoreRestore(const Schema& schema,
                 FileSystem& files,
                 Clock& clock,
                 Random& random,
                 std::string storePath,
                 std::vector<std::string> companions);
    /// What was unpacked and has not taken its place goes.
    ~StoreRestore();
    StoreRestore(const StoreRestore&) = delete;
    StoreRestore& operator=(const StoreRestore&) = delete;

    /// Whether anything stands where the library would be put.
    [[nodiscard]] bool isPlaceTaken();
    /// Throws PlatformError when another program has the store in the place open.
    void requireUnused();
    /// Unpacks a backup beside the place, and says what is damaged in it. Throws PlatformError when
    /// it is no backup, or not the whole of one.
    [[nodiscard]] StoreReport unpack(const std::string& backupPath, const Progress& progress);
    /// Puts what was unpacked into the place. Answers where the former library lies now, empty when
    /// there was none.
    [[nodiscard]] std::string takePlace();

private:
    [[nodiscard]] std::string placeOf(const std::string& name);
    void removeSurplus(const std::string& store);
    void removeUnpacked() noexcept;
    [[nodiscard]] std::string freeName();

    const Schema& schema_;
    FileSystem& files_;
    Clock& clock_;
    std::string storePath_;
    std::vector<std::string> companions_;
    std::string place_;     // the library's folder
    std::string unpacked_;  // the folder beside it; empty when there is none
    std::vector<std::string> unpackedFiles_;
    std::string temporaryFolder_;
};

}  // namespace kelto
