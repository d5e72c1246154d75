#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kelto/persistence/Payload.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Bytes that were read and hashed but belong to no object yet. What it holds (a small buffer, or a
/// temporary file) goes with it unless the storage keeps it.
class ReceivedPayload {
public:
    ReceivedPayload(Payload payload, std::uint64_t size) : payload_(payload), size_(size) {}
    ReceivedPayload(ReceivedPayload&& other) noexcept;
    ReceivedPayload& operator=(ReceivedPayload&&) = delete;
    ~ReceivedPayload();

    [[nodiscard]] const Payload& payload() const { return payload_; }
    [[nodiscard]] std::uint64_t size() const { return size_; }

private:
    friend class SqlitePayloads;

    Payload payload_;
    std::uint64_t size_;
    std::string bytes_;            // the bytes themselves, when they are few
    FileSystem* files_ = nullptr;  // set together with temporaryPath_
    std::string temporaryPath_;    // else the file that holds them
};

/// Where payload bytes live. The same bytes are stored once. receive() and keep() belong to a unit
/// of work; reading does not.
class PayloadStorage {
public:
    virtual ~PayloadStorage() = default;

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
