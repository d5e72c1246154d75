#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "kelto/AppleBridge/FilesAhead.hpp"
#include "kelto/AppleBridge/Record.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/persistence/PayloadStorage.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// A path taken apart as a record gives it: the last component, and the folder before it.
struct FilePlace {
    std::string_view folder;
    std::string_view name;
};

/// A file that a record names: what its bytes are, and, if somebody wants them, the bytes.
class IncomingFile {
public:
    [[nodiscard]] const Payload& payload() const {
        return received_ ? received_->payload() : known_;
    }
    /// Where the file can be asked for again; none when the way to it leads over a link or is
    /// spelled in an unusual manner. Borrowed from the record.
    [[nodiscard]] const std::optional<FilePlace>& place() const { return place_; }

private:
    friend class AssetReader;

    Payload known_;  // of what has not been read
    std::uint64_t size_ = 0;
    std::optional<FilePlace> place_;
    std::shared_ptr<Folder> folder_;
    std::optional<ReceivedPayload> received_;  // none as long as its identity was enough
};

/// Reads the files that records name, and none outside the exchange folder. Every file is opened
/// through a folder whose way is free of links, so that nobody can change where it leads between
/// the check and the opening.
class AssetReader {
public:
    AssetReader(FileSystem& files, PayloadStorage& payloads, std::string_view directory);

    /// Has the files of those records that no earlier request held looked at and read ahead, in
    /// part while this thread prepares what comes before the first asset(). The records outlive the
    /// reader.
    void lookAhead(std::span<const Record> records);

    /// The file whose path stands under `key`, complete and hashed, or seen before and unchanged;
    /// none when there is no text. A path that, with all links resolved, does not lie in the
    /// exchange folder is refused with "Invalid asset path."; a file that cannot be read is the
    /// file system's error.
    [[nodiscard]] std::optional<IncomingFile> asset(const Record& record, RecordKey key);

    /// What the file system says of a file that an earlier request named: none for what is no plain
    /// file, or cannot be looked at. asset() will say why.
    [[nodiscard]] std::optional<FileStatus> look(const RequestMemory& memory, const SeenFile& file);
    /// The same for all of them, in their order; many at a time, with a second thread.
    [[nodiscard]] LargeVector<std::optional<FileStatus>> lookAtAll(const RequestMemory& memory);
    /// Whether the file of that status still holds these bytes, as it did when they were read, and
    /// the storage does so as well.
    [[nodiscard]] bool isUnchanged(const std::optional<FileStatus>& status, const Payload& payload);

    /// Makes the bytes part of the unit of work, unless `stored` are the same, and answers their
    /// payload.
    [[nodiscard]] Payload keep(IncomingFile& file, const std::optional<Payload>& stored);

private:
    /// Folders that are held open at a time. Hosts use one or two; a folder for each item must not
    /// use up the process's descriptors.
    static constexpr std::size_t folderLimit = 64;

    /// Where a path leads: with all links resolved when all of it exists, else as it was written
    /// but for its dots. A relative path starts at the process's current folder.
    struct Location {
        std::string path;
        bool isResolved;
    };
    [[nodiscard]] Location located(std::string_view path);
    [[nodiscard]] const std::string& directoryPrefix();
    /// The folder at a path that stands in a record, if it lies in the exchange folder; nullptr
    /// when the path has to be looked at more closely.
    [[nodiscard]] std::shared_ptr<Folder> folderAt(std::string_view path);
    [[nodiscard]] std::shared_ptr<Folder> opened(std::string_view path);
    [[nodiscard]] std::optional<IncomingFile> placedFile(const Record& record, RecordKey key);
    [[nodiscard]] IncomingFile resolvedFile(std::string_view path);

    void addAhead(const Record& record, RecordKey key);

    FileSystem& files_;
    PayloadStorage& payloads_;
    std::string directory_;
    std::string directoryPrefix_;  // made when the first file is looked for
    std::unordered_map<std::string, std::shared_ptr<Folder>> folders_;
    std::string lastFolderPath_;
    std::shared_ptr<Folder> lastFolder_;
    FilesAhead ahead_;
};

}  // namespace kelto
