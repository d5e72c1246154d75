#include "kelto/platform/FileTransfer.hpp"

#include <cerrno>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/HexDigits.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

/// A file that vanishes again unless it was put in its place. `Files` is a whole file system or one
/// folder.
template <typename Files>
class TemporaryFile {
public:
    TemporaryFile(Files& files, std::string path) : files_(files), path_(std::move(path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (path_.empty()) return;
        try {
            files_.remove(path_);
        } catch (const std::exception&) {
            // The failure that made us give up is already on its way and says more.
            return;
        }
    }

    void moveTo(std::string_view place) {
        files_.rename(path_, place);
        path_.clear();
    }

private:
    Files& files_;
    std::string path_;
};

template <typename Files>
void writeThroughTemporary(Files& files,
                           const std::string& temporaryPath,
                           std::string_view path,
                           Durability durability,
                           const std::function<void(File&)>& fill) {
    std::unique_ptr<File> file = files.create(temporaryPath);
    TemporaryFile temporary(files, temporaryPath);
    fill(*file);
    if (durability == Durability::flushed) file->sync();
    file.reset();
    temporary.moveTo(path);
}

constexpr std::string_view temporaryPrefix = ".kelto-";
constexpr std::string_view temporarySuffix = ".part";

std::string hexText(std::uint64_t bits) {
    std::string text;
    for (int shift = 56; shift >= 0; shift -= 8) {
        text.append(&lowerCaseHexPairs[2 * ((bits >> shift) & 0xFF)], 2);
    }
    return text;
}

}  // namespace

std::string readWholeFile(FileSystem& files, std::string_view path, std::size_t limit) {
    const std::unique_ptr<File> file = files.openForReading(path);
    const std::uint64_t size = file->status().size;
    if (size > limit) throw PlatformError::fileRead(path, EFBIG);
    std::string contents;
    std::size_t length = 0;
    // One byte more than there should be, so that the first read already finds the end.
    std::size_t room = static_cast<std::size_t>(size) + 1;
    for (;;) {
        contents.resize(length + room);
        const std::size_t count =
            file->read(std::as_writable_bytes(std::span(contents)).subspan(length));
        length += count;
        if (length > limit) throw PlatformError::fileRead(path, EFBIG);
        if (count < room) break;
        room = transferBufferBytes;  // the file has grown meanwhile, or did not know its size
    }
    contents.resize(length);
    return contents;
}

void writeAtomically(FileSystem& files,
                     Random& random,
                     std::string_view path,
                     Durability durability,
                     const std::function<void(File&)>& fill) {
    writeAtomically(files, temporaryPathBeside(path, random), path, durability, fill);
}

void writeAtomically(FileSystem& files,
                     const std::string& temporaryPath,
                     std::string_view path,
                     Durability durability,
                     const std::function<void(File&)>& fill) {
    namingInsteadOf(temporaryPath, path, [&] {
        writeThroughTemporary(files, temporaryPath, path, durability, fill);
    });
    if (durability == Durability::flushed) files.syncFolder(withoutLastPathComponent(path));
}

void writeAtomically(Folder& folder,
                     const std::string& temporaryName,
                     std::string_view name,
                     const std::function<void(File&)>& fill) {
    namingInsteadOf(temporaryName, joinedPath(folder.path(), name), [&] {
        writeThroughTemporary(folder, temporaryName, name, Durability::relaxed, fill);
    });
}

std::string temporaryPathBeside(std::string_view path, Random& random) {
    // Of a fixed length: made from the name itself, it could become longer than a name may be.
    std::string name(temporaryPrefix);
    name += hexText(random.bits());
    name += temporarySuffix;
    return joinedPath(withoutLastPathComponent(path), name);
}

bool isTemporaryName(std::string_view name) {
    return name.starts_with(temporaryPrefix) && name.ends_with(temporarySuffix);
}

void removeTemporaryFiles(FileSystem& files, std::string_view folder) noexcept {
    try {
        for (const std::string& name : files.list(folder)) {
            if (isTemporaryName(name)) files.remove(joinedPath(folder, name));
        }
    } catch (const std::exception&) {
        return;  // whoever comes next tries again
    }
}

void removeTemporaryFiles(FileSystem& files, Folder& folder) noexcept {
    try {
        for (const std::string& name : files.list(folder.path())) {
            if (isTemporaryName(name)) folder.remove(name);
        }
    } catch (const std::exception&) {
        return;  // as above
    }
}

void createFoldersDurably(FileSystem& files, std::string_view path) {
    std::vector<std::string_view> made;
    std::string_view place = path;
    std::optional<FileStatus> status = files.status(place);
    const bool isThere = status && status->kind == FileStatus::Kind::folder;
    for (; !status && place.size() > 1; status = files.status(place)) {
        made.push_back(place);
        place = withoutLastPathComponent(place);
    }
    if (isThere) return;
    files.createFolders(path);
    for (const std::string_view folder : made) files.syncFolder(withoutLastPathComponent(folder));
}

PlatformError namedInsteadOf(std::string_view temporaryPath,
                             std::string_view path,
                             const PlatformError& failure) {
    const std::string_view temporaryName = lastPathComponent(temporaryPath);
    if (failure.localizedDescription().find(temporaryName) == std::string::npos) return failure;
    ErrorDictionary userInfo;
    for (const auto& [key, value] : failure.object()->userInfo.entries) {
        const auto* text = std::get_if<std::string>(&value);
        if (key == errorKey::filePath) {
            userInfo.entries.emplace_back(key, std::string(path));
        } else if (text != nullptr) {
            userInfo.entries.emplace_back(key,
                                          replacingAll(*text, temporaryName, spokenFileName(path)));
        } else {
            userInfo.entries.emplace_back(key, value);
        }
    }
    return {failure.domain(), failure.code(), std::move(userInfo)};
}

}  // namespace kelto
