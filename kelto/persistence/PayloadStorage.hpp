#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/persistence/Payload.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/OutgoingFiles.hpp"

namespace kelto {

/// The bytes of a file that belong to no object yet: read and hashed, or known from an earlier
/// reading. What it holds (a small buffer, a temporary file, the open file) goes with it unless the
/// storage keeps it.
class ReceivedPayload {
public:
    /// Few enough bytes to be held in memory.
    ReceivedPayload(Payload payload, std::string bytes);
    /// More of them, in a temporary file that is still open; the file is removed with this object.
    ReceivedPayload(Payload payload,
                    std::uint64_t size,
                    FileSystem& files,
                    std::unique_ptr<File> temporary);
    /// Bytes that were hashed before, in a file that is open at its start.
    ReceivedPayload(Payload payload, std::uint64_t size, std::unique_ptr<File> unread);
    ReceivedPayload(ReceivedPayload&& other) = default;
    ReceivedPayload& operator=(ReceivedPayload&& other) noexcept;
    ~ReceivedPayload();

    [[nodiscard]] const Payload& payload() const { return payload_; }
    [[nodiscard]] std::uint64_t size() const { return size_; }

private:
    friend class SqlitePayloads;

    Payload payload_;
    std::uint64_t size_;
    std::string bytes_;
    FileSystem* files_ = nullptr;
    std::unique_ptr<File> temporary_;
    std::unique_ptr<File> unread_;
};

/// The bytes of a file that somebody has read to its end into memory, and their digest.
struct HashedBytes {
    std::string path;  ///< For errors.
    std::string bytes;
    Digest digest;
    /// What the file system said of the file before and after, if PayloadStorage::mayRemember()
    /// said yes to it before.
    std::optional<FileStatus> identity;
};

/// Where payload bytes live. The same bytes are stored once. receive() and keep() belong to a unit
/// of work; reading does not.
class PayloadStorage {
public:
    virtual ~PayloadStorage() = default;

    /// The payload of a file that was read before and has not changed since, by what the file
    /// system says of it: the same device, inode, size, modification and change time. None when it
    /// has to be read. No file is looked at.
    [[nodiscard]] virtual std::optional<Payload> seenBefore(const FileStatus& status) = 0;
    /// The payload of `source`, which is open at its start: by seenBefore(), and then the file is
    /// left unread, else it is read to its end through a fixed buffer and hashed.
    [[nodiscard]] virtual ReceivedPayload receive(std::unique_ptr<File> source) = 0;
    /// Whether a file that is read from now on may be known again by what the file system says of
    /// it now: if that is the same when it has been read, it was so all the time.
    [[nodiscard]] virtual bool mayRemember(const FileStatus& status) = 0;
    /// The payload of a file that somebody else has read, since it was not seenBefore().
    [[nodiscard]] virtual ReceivedPayload receive(HashedBytes read) = 0;
    /// Whether the storage still has the bytes of a payload that it was given, of this size, as far
    /// as a look at the file of a large one tells. If not, keep() brings them back.
    [[nodiscard]] virtual bool isSound(const Payload& payload, std::uint64_t size) = 0;
    /// Makes the bytes part of this unit of work: they are stored when it commits. A file that was
    /// left unread is read now if the storage lacks its bytes; should they turn out to be others,
    /// `received` becomes what was read, so the payload is asked for after this call.
    virtual void keep(ReceivedPayload& received) = 0;
    /// Writes the stored bytes of `payload` to `destination`. A PlatformError when they are missing
    /// or fewer than they were.
    virtual void copyTo(const Payload& payload, File& destination) = 0;
    /// The same into the place of the file of that name, as one of `files`.
    virtual void handOut(const Payload& payload, const std::string& name, OutgoingFiles& files) = 0;
    /// The size in bytes; a PlatformError when the storage does not hold the payload.
    [[nodiscard]] virtual std::uint64_t size(const Payload& payload) = 0;
};

}  // namespace kelto
