#include "kelto/AppleBridge/AssetReader.hpp"

#include <cerrno>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

AssetReader::AssetReader(FileSystem& files, PayloadStorage& payloads, std::string_view directory)
    : files_(files), payloads_(payloads), directory_(directory) {}

std::optional<ReceivedPayload> AssetReader::asset(const Record& record, RecordKey key) {
    const auto path = record.optionalString(key);
    if (!path) return std::nullopt;
    if (!directoryPrefix_) directoryPrefix_ = located(directory_).path + "/";
    const Location file = located(*path);
    if (!file.path.starts_with(*directoryPrefix_)) throw BridgeError("Invalid asset path.");
    // Never opened by a path whose links are not known: one of them could lead out of the folder.
    if (!file.isResolved) throw PlatformError::fileRead(file.path, ENOENT);
    return payloads_.receive(files_.openForReading(file.path));
}

AssetReader::Location AssetReader::located(std::string_view path) {
    const std::string absolute = absolutePath(files_, path);
    if (auto resolved = files_.resolvedPath(absolute)) return {*resolved, true};
    // Not all of it is there as it was written: without its dots and its last slash it may be.
    const std::string standardized = standardizedPath(absolute);
    if (auto resolved = files_.resolvedPath(standardized)) return {*resolved, true};
    return {standardized, false};
}

}  // namespace kelto
