#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Copies files and computes the digest of their bytes on the way. Of a long file, a second thread
/// hashes what this one has read while this one writes it and reads on: both take about the same
/// time. Nothing but bytes crosses, and the second thread has ended when copy() returns or throws.
/// The buffers are kept for the next file: memory that was never touched is slow.
class HashingCopy {
public:
    /// How much is read at a time.
    static constexpr std::size_t bufferBytes = std::size_t{256} * 1024;
    /// A file up to this length is hashed sooner than a second thread is made.
    static constexpr std::uint64_t shortFileBytes = 32 * bufferBytes;

    struct Copied {
        std::uint64_t size = 0;
        Digest digest;
    };

    HashingCopy() : buffers_(bufferCount * bufferBytes) {}

    /// For whoever wants to see the beginning of a source before it is copied, if at all.
    [[nodiscard]] std::span<std::byte> firstBuffer() { return buffer(0); }
    /// Copies what follows in `source`, to its end. `head` is what was read into the first buffer
    /// before, empty when nothing was; fewer bytes than fit into it mean the end. A long copy goes
    /// to the disk while it is made (File::startSync).
    [[nodiscard]] Copied copy(Bytes head, File& source, File& destination, File::Reading reading);

private:
    static constexpr std::size_t bufferCount = 4;

    [[nodiscard]] std::span<std::byte> buffer(std::uint64_t piece) {
        return std::span(buffers_).subspan(piece % bufferCount * bufferBytes, bufferBytes);
    }

    std::vector<std::byte> buffers_;
};

}  // namespace kelto
