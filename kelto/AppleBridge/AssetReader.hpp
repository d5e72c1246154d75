#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kelto/AppleBridge/Record.hpp"
#include "kelto/persistence/PayloadStorage.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Reads the files that records name, and none outside the exchange folder.
class AssetReader {
public:
    AssetReader(FileSystem& files, PayloadStorage& payloads, std::string_view directory);

    /// The bytes of the file whose path stands under `key`, complete and hashed; none when there is
    /// no text. A path that, with all links resolved, does not lie in the exchange folder is
    /// refused with "Invalid asset path."; a file that cannot be read is the file system's error.
    [[nodiscard]] std::optional<ReceivedPayload> asset(const Record& record, RecordKey key);

private:
    /// Where a path leads: with all links resolved when all of it exists, else as it was written
    /// but for its dots. A relative path starts at the process's current folder.
    struct Location {
        std::string path;
        bool isResolved;
    };
    [[nodiscard]] Location located(std::string_view path);

    FileSystem& files_;
    PayloadStorage& payloads_;
    std::string directory_;
    std::optional<std::string> directoryPrefix_;  ///< Made when the first file is looked for.
};

}  // namespace kelto
