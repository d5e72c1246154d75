#include "kelto/AppleBridge/AssetReader.hpp"

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/FilePath.hpp"

namespace kelto {

AssetReader::AssetReader(FileSystem& files, PayloadStorage& payloads, std::string_view directory)
    : files_(files), payloads_(payloads), directory_(directory) {}

std::optional<ReceivedPayload> AssetReader::asset(const Record& record, RecordKey key) {
    const auto path = record.optionalString(key);
    if (!path) return std::nullopt;
    const std::string file = resolved(*path);
    if (!directoryPrefix_) directoryPrefix_ = resolved(directory_) + "/";
    if (!file.starts_with(*directoryPrefix_)) throw BridgeError("Invalid asset path.");
    return payloads_.receive(*files_.openForReading(file));
}

std::string AssetReader::resolved(std::string_view path) {
    const std::string absolute =
        path.starts_with('/') ? std::string(path) : joinedPath(files_.currentFolder(), path);
    if (auto resolved = files_.resolvedPath(absolute)) return *resolved;
    return standardizedPath(absolute);
}

}  // namespace kelto
