#pragma once

#include <cstddef>
#include <cstdint>

namespace kelto {

/// The kinds of work that an exchange should do only when something is new.
enum class Work : std::uint8_t {
    payloadBytesRead,     ///< Bytes of payload files, the host's and our own.
    payloadBytesWritten,  ///< Bytes of payloads, into the store and for the host.
    digests,              ///< SHA-256 digests computed.
    rowsWritten,          ///< Rows of the store inserted, changed or deleted.
    filesWritten,         ///< Files made, in the store and for the host.
    filesExamined,        ///< Files whose state the file system was asked for.
    recordsRead,          ///< Records of requests that were taken apart.
    objectsLoaded,        ///< Objects made or refreshed from rows of the store.
    thingsPrinted,        ///< Things whose records were printed for a response.
};
inline constexpr std::size_t workKindCount = 9;

/// Amounts of work by kind. A difference of two says what was done in between, whatever the clock
/// says.
struct WorkCounters {
    std::uint64_t amounts[workKindCount] = {};

    [[nodiscard]] std::uint64_t operator[](Work kind) const {
        return amounts[static_cast<std::size_t>(kind)];
    }
    friend WorkCounters operator-(const WorkCounters& later, const WorkCounters& earlier) {
        WorkCounters between;
        for (std::size_t i = 0; i < workKindCount; ++i) {
            between.amounts[i] = later.amounts[i] - earlier.amounts[i];
        }
        return between;
    }
};

/// All work of this process since it began. Any thread.
[[nodiscard]] WorkCounters workSoFar() noexcept;

/// Adds to the work of this process. Any thread.
void countWork(Work kind, std::uint64_t amount = 1) noexcept;

}  // namespace kelto
