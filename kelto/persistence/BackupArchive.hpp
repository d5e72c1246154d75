#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

// A backup is a tar archive (POSIX ustar; a size of 8 GiB and more in base 256, as GNU tar writes
// it), so that it can be unpacked without this library: the folder "Library" with its files, and at
// its end "Library/SHA256SUMS", which names the digest of each file before it.

/// The folder that every name in a backup begins with.
inline constexpr std::string_view backupFolder = "Library";
/// The name of the last entry, in that folder.
inline constexpr std::string_view backupSums = "SHA256SUMS";

/// Writes an archive from its beginning to its end. The file stays the caller's.
class BackupWriter {
public:
    /// `moment` is the time of all entries.
    BackupWriter(File& file, const Date& moment);

    /// Takes bytes, all in all as many as were announced; fewer are filled up with zeros.
    using Sink = std::function<void(Bytes)>;
    /// One file of the folder; answers the digest of what `fill` gave.
    Digest add(std::string_view name,
               std::uint64_t size,
               const std::function<void(const Sink&)>& fill);
    /// The sums and the end. Nothing may be added afterwards.
    void finish();
    [[nodiscard]] std::uint64_t size() const { return written_; }

private:
    void writeHeader(std::string_view prefix, std::string_view name, std::uint64_t size, char type);
    void write(Bytes bytes);
    void pad();

    File& file_;
    Date moment_;
    std::uint64_t written_ = 0;
    std::string sums_;
};

/// Reads an archive from its beginning to its end. Whatever is not as BackupWriter writes it is a
/// PlatformError that says so.
class BackupReader {
public:
    explicit BackupReader(File& file);

    struct Entry {
        std::string name;  ///< Within the folder.
        std::uint64_t size = 0;
    };
    /// The next file; none after the last, and then the end was as it should be.
    [[nodiscard]] std::optional<Entry> next();
    /// Gives the bytes of that file in pieces, and answers their digest.
    Digest read(const std::function<void(Bytes)>& sink);

    /// What this archive is not, for a person to read.
    [[nodiscard]] PlatformError broken(std::string_view what) const;

    [[nodiscard]] std::uint64_t bytesRead() const { return read_; }

private:
    void fill(std::span<std::byte> buffer);
    void skip(std::uint64_t bytes);

    File& file_;
    std::uint64_t left_ = 0;     // of the present entry
    std::uint64_t padding_ = 0;  // behind it
    std::uint64_t read_ = 0;
};

/// Reads a whole backup and holds every file against the sums at its end. `place` answers the new
/// file that an entry's bytes go to, flushed, or nullptr when they are only to be read. `progress`
/// is told how many bytes of the backup have been read; it may be empty. Throws PlatformError when
/// anything is not as it was written.
void readBackup(File& backup,
                const std::function<std::unique_ptr<File>(const BackupReader::Entry&)>& place,
                const std::function<void(std::uint64_t)>& progress);

}  // namespace kelto
