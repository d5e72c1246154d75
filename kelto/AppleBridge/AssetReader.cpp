#include "kelto/AppleBridge/AssetReader.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

namespace {

constexpr RecordKey assetKeys[] = {RecordKey::data, RecordKey::thumbnail, RecordKey::icon};

/// Only for paths that are spelled as nearly all are: from the root down to a plain name, and not
/// longer than the system opens at once (PATH_MAX).
std::optional<FilePlace> placeOf(std::string_view path) {
    constexpr std::size_t longestPath = 4096;
    if (!path.starts_with('/') || path.size() >= longestPath) return std::nullopt;
    const std::size_t slash = path.rfind('/');
    const FilePlace place{path.substr(0, slash), path.substr(slash + 1)};
    const bool isPlain = !place.folder.empty() && !place.name.empty() && place.name != "." &&
                         place.name != ".." && path.find('\0') == path.npos;
    return isPlain ? std::optional(place) : std::nullopt;
}

}  // namespace

AssetReader::AssetReader(FileSystem& files, PayloadStorage& payloads, std::string_view directory)
    : files_(files), payloads_(payloads), directory_(directory), ahead_(payloads) {}

void AssetReader::lookAhead(std::span<const Record> records) {
    for (const Record& record : records) {
        if (record.seen() != nullptr || record.type() != RecordType::thing) continue;
        for (const RecordKey key : assetKeys) addAhead(record, key);
    }
    ahead_.begin();
}

void AssetReader::addAhead(const Record& record, RecordKey key) {
    const auto path = record.optionalString(key);
    const auto place = path ? placeOf(*path) : std::nullopt;
    // A folder for each item would use up the process's descriptors, or be closed again.
    if (!place || (folders_.size() >= folderLimit && place->folder != lastFolderPath_)) return;
    try {
        auto folder = folderAt(place->folder);
        if (folder != nullptr) ahead_.add(record, key, std::move(folder), place->name);
    } catch (const PlatformError&) {
        return;  // asset() will say so, if anybody asks for the file
    }
}

std::optional<IncomingFile> AssetReader::asset(const Record& record, RecordKey key) {
    const auto path = record.optionalString(key);
    if (!path) return std::nullopt;
    if (auto file = placedFile(record, key)) return file;
    return resolvedFile(*path);
}

std::optional<IncomingFile> AssetReader::placedFile(const Record& record, RecordKey key) {
    const auto place = placeOf(record.string(key));
    const auto folder = place ? folderAt(place->folder) : nullptr;
    if (folder == nullptr) return std::nullopt;
    FilesAhead::Found found = ahead_.take(record, key);
    const auto status = found.status ? found.status : folder->status(place->name);
    if (!status || status->kind != FileStatus::Kind::regular) return std::nullopt;
    IncomingFile file;
    file.place_ = place;
    file.folder_ = folder;
    file.size_ = status->size;
    if (const auto payload = payloads_.seenBefore(*status)) {
        file.known_ = *payload;
    } else if (found.bytes) {
        file.received_.emplace(payloads_.receive(std::move(*found.bytes)));
    } else {
        file.received_.emplace(payloads_.receive(folder->openForReading(place->name)));
    }
    return file;
}

IncomingFile AssetReader::resolvedFile(std::string_view path) {
    const Location location = located(path);
    if (!location.path.starts_with(directoryPrefix()))
        throw BridgeError(BridgeRefusal::invalidAssetPath);
    // Never opened by a path whose links are not known: one of them could lead out of the folder.
    if (!location.isResolved) throw PlatformError::fileRead(location.path, ENOENT);
    const auto folder = files_.openFolder(withoutLastPathComponent(location.path));
    IncomingFile file;
    file.received_.emplace(
        payloads_.receive(folder->openForReading(lastPathComponent(location.path))));
    return file;
}

std::optional<FileStatus> AssetReader::look(const RequestMemory& memory, const SeenFile& file) {
    const auto folder = folderAt(memory.folders[file.folder]);
    return FilesAhead::look(folder.get(), memory.nameOf(file));
}

LargeVector<std::optional<FileStatus>> AssetReader::lookAtAll(const RequestMemory& memory) {
    LargeVector<std::optional<FileStatus>> statuses(memory.files.size());
    if (memory.folders.size() > folderLimit) {
        std::transform(
            memory.files.begin(), memory.files.end(), statuses.begin(), [&](const SeenFile& file) {
                return look(memory, file);
            });
        return statuses;
    }
    std::vector<std::shared_ptr<Folder>> folders;
    for (const std::string& path : memory.folders) folders.push_back(folderAt(path));
    shareWork(
        memory.files.size(), FilesAhead::lookingStride, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) {
                const SeenFile& file = memory.files[i];
                statuses[i] = FilesAhead::look(folders[file.folder].get(), memory.nameOf(file));
            }
        });
    return statuses;
}

bool AssetReader::isUnchanged(const std::optional<FileStatus>& status, const Payload& payload) {
    // Whoever takes the permission to read a file away changes its time, too.
    return status && payloads_.seenBefore(*status) == payload &&
           payloads_.isSound(payload, status->size);
}

Payload AssetReader::keep(IncomingFile& file, const std::optional<Payload>& stored) {
    if (!file.received_) {
        if (file.known_ == stored && payloads_.isSound(file.known_, file.size_)) return *stored;
        file.received_.emplace(payloads_.receive(file.folder_->openForReading(file.place_->name)));
    }
    payloads_.keep(*file.received_);
    return file.received_->payload();
}

std::shared_ptr<Folder> AssetReader::folderAt(std::string_view path) {
    if (!lastFolderPath_.empty() && path == lastFolderPath_) return lastFolder_;
    std::string folderPath(path);
    const auto known = folders_.find(folderPath);
    if (known != folders_.end()) {
        lastFolder_ = known->second;
    } else {
        auto folder = opened(path);
        if (folders_.size() >= folderLimit) folders_.clear();
        folders_.emplace(folderPath, folder);
        lastFolder_ = std::move(folder);
    }
    lastFolderPath_ = std::move(folderPath);
    return lastFolder_;
}

std::shared_ptr<Folder> AssetReader::opened(std::string_view path) {
    const auto resolved = files_.resolvedPath(path);
    if (!resolved || *resolved == "/" || !(*resolved + "/").starts_with(directoryPrefix())) {
        return nullptr;
    }
    try {
        return files_.openFolder(*resolved);
    } catch (const PlatformError&) {
        return nullptr;  // somebody is changing the way to it at this moment
    }
}

const std::string& AssetReader::directoryPrefix() {
    if (directoryPrefix_.empty()) directoryPrefix_ = located(directory_).path + "/";
    return directoryPrefix_;
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
