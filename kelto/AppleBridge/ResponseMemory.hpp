#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kelto/AppleBridge/KnownFingerprints.hpp"

namespace kelto {

/// One record of an earlier response.
struct ShownRecord {
    std::int64_t row = 0;            ///< Of the object that it shows.
    std::uint64_t changeNumber = 0;  ///< Of the object, when it was shown.
    std::size_t begin = 0;           ///< Where its text stands.
    std::size_t end = 0;
    /// The host was found to hold this version, files included, or there are no files.
    bool isHeld = false;
};

/// The last response, from which the records of unchanged objects are copied.
struct ResponseMemory {
    /// Above this many bytes a response is not kept: remembering it would double what the library
    /// weighs in memory.
    static constexpr std::size_t textLimitBytes = std::size_t{256} * 1024 * 1024;

    std::shared_ptr<const std::string> text;  ///< nullptr: nothing is remembered.
    std::string receivedFolder;               ///< The folder of the paths in the records.
    std::vector<ShownRecord> projects;        ///< In the order of their records.
    std::vector<ShownRecord> tags;
    std::vector<ShownRecord> things;

    /// What the host had said it held.
    std::shared_ptr<const KnownFingerprints> known;

    // Equal numbers mean that no object has come, gone or changed since.
    std::uint64_t populationNumber = 0;
    std::uint64_t changeNumber = 0;
    /// Whether every record was found to be held.
    bool areAllHeld = false;
};

}  // namespace kelto
