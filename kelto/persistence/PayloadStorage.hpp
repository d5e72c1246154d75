#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/persistence/Payload.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Bytes that were read and hashed but belong to no object yet. What it holds (a small buffer, or a
/// temporary file) goes with it unless the storage keeps it.
class ReceivedPayload {
public:
    /// Few enough bytes to be held in memory.
    ReceivedPayload(Payload payload, std::string bytes);
    /// More of them, in a temporary file that is still open; the file is removed with this object.
    ReceivedPayload(Payload payload,
                    std::uint64_t size,
                    FileSystem& files,
                    std::unique_ptr<File> temporary);
    ReceivedPayload(ReceivedPayload&& other) = default;
    ReceivedPayload& operator=(ReceivedPayload&&) = delete;
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
};

/// Where payload bytes live. The same bytes are stored once. receive() and keep() belong to a unit
/// of work; reading does not.
class PayloadStorage {
public:
    virtual ~PayloadStorage() = default;

    [[nodiscard]] virtual std::optional<Payload> seenBefore(const FileStatus&) { return {}; }
    [[nodiscard]] ReceivedPayload receive(std::unique_ptr<File> source) { return receive(*source); }
    /// Reads `source` to its end through a fixed buffer and hashes it.
    [[nodiscard]] virtual ReceivedPayload receive(File& source) = 0;
    /// Makes the bytes part of this unit of work: they are stored when it commits.
    virtual void keep(ReceivedPayload& received) = 0;
    /// Writes the stored bytes of `payload` to `destination`. A PlatformError when they are missing
    /// or fewer than they were.
    virtual void copyTo(const Payload& payload, File& destination) = 0;
    /// The size in bytes; a PlatformError when the storage does not hold the payload.
    [[nodiscard]] virtual std::uint64_t size(const Payload& payload) = 0;
};

}  // namespace kelto
