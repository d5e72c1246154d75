#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Bytes.hpp"

namespace kelto {

/// What the file system says of one file or folder.
struct FileStatus {
    enum class Kind : std::uint8_t {
        regular,
        folder,
        link,  ///< A symbolic link; only where links are not followed.
        other
    };

    Kind kind = Kind::other;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;                ///< Bytes.
    std::int64_t modifiedNanoseconds = 0;  ///< Since 1970-01-01 00:00 UTC.
    std::int64_t changedNanoseconds = 0;   ///< The same, of the inode's last change.
    std::uint32_t permissions = 0;         ///< Who may read, write and run it: nine bits.

    friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

/// One open file, closed by its destructor. Every failure is a PlatformError that names the path.
class File {
public:
    /// After how many written bytes a writer of many calls startSync(): a long stride, since the
    /// file system looks for a place each time.
    static constexpr std::uint64_t syncStrideBytes = std::uint64_t{16} * 1024 * 1024;

    virtual ~File() = default;
    [[nodiscard]] virtual const std::string& path() const = 0;
    [[nodiscard]] virtual FileStatus status() = 0;
    /// Fills `buffer` from the current position as far as the file goes; fewer bytes than asked for
    /// mean its end.
    [[nodiscard]] virtual std::size_t read(std::span<std::byte> buffer) = 0;
    /// Writes all of `bytes` at the current position.
    virtual void write(Bytes bytes) = 0;
    /// Writes what follows in `source`, to its end, by the cheapest means that the file system has;
    /// answers how many bytes that were. Later writes to one file do not show in the other.
    virtual std::uint64_t copyFrom(File& source) = 0;
    /// Whether somebody will soon read what was written.
    enum class Reading : std::uint8_t { soon, perhaps };
    /// Lets the bytes written so far begin their way to the disk, without waiting: written only
    /// when memory is full of them, they would stop the writer for seconds. Of bytes that nobody
    /// is sure to read soon, all but the last few leave the cache, where a film would push out
    /// everything else. Only a hint.
    virtual void startSync(Reading reading) = 0;
    /// Returns once the file's bytes have reached the disk.
    virtual void sync() = 0;
};

/// One open folder. The names in it lead to what lies in it and nowhere else, whatever happens to
/// its path meanwhile. A name is a single component, neither "." nor "..". Every failure is a
/// PlatformError that names the path.
class Folder {
public:
    virtual ~Folder() = default;
    /// The path under which the folder was opened.
    [[nodiscard]] virtual const std::string& path() const = 0;
    /// None when nothing stands under that name. A link is not followed.
    [[nodiscard]] virtual std::optional<FileStatus> status(std::string_view name) = 0;
    /// Like FileSystem::openForReading(), but a link is refused (ELOOP).
    [[nodiscard]] virtual std::unique_ptr<File> openForReading(std::string_view name) = 0;

    /// Like their namesakes of FileSystem: a new, empty file (0600); `from` in the place of `to`, a
    /// link there included; a file or a link taken away.
    [[nodiscard]] virtual std::unique_ptr<File> create(std::string_view name) = 0;
    virtual void rename(std::string_view from, std::string_view to) = 0;
    virtual void remove(std::string_view name) = 0;

    /// Together with others of the same mind, or alone.
    enum class Hold : std::uint8_t { together, alone };
    /// Holds the folder until it is closed, or held in the other way: a sign between programs that
    /// ask for it, and no more. False when somebody else's hold stands against it, or the file
    /// system knows none. Never waits.
    [[nodiscard]] virtual bool hold(Hold hold) = 0;
};

/// Files and folders by path. Paths are absolute UTF-8 texts; one that holds a NUL names nothing
/// (ENOENT). Every failure is a PlatformError that names the path and the cause. What is created is
/// readable by the user alone: files 0600, folders 0700.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// An existing regular file, read from its start. Links are followed. A folder, FIFO, device or
    /// socket is refused, without waiting for anybody at its other end.
    [[nodiscard]] virtual std::unique_ptr<File> openForReading(std::string_view path) = 0;
    /// An existing folder; refused (ELOOP) when any component of its path is a link.
    [[nodiscard]] virtual std::unique_ptr<Folder> openFolder(std::string_view path) = 0;
    /// A new, empty file for writing; refused when anything stands at `path`, a link included.
    [[nodiscard]] virtual std::unique_ptr<File> create(std::string_view path) = 0;

    /// None when nothing stands there, or when a link leads nowhere. Links are followed.
    [[nodiscard]] virtual std::optional<FileStatus> status(std::string_view path) = 0;
    /// The path with every symbolic link resolved; none unless all of it exists.
    [[nodiscard]] virtual std::optional<std::string> resolvedPath(std::string_view path) = 0;
    /// The names in a folder, in no order, "." and ".." left out.
    [[nodiscard]] virtual std::vector<std::string> list(std::string_view folder) = 0;
    /// The process's current folder, for relative paths.
    [[nodiscard]] virtual std::string currentFolder() = 0;

    /// The folder and those above it, as far as they are missing. An existing folder is fine.
    virtual void createFolders(std::string_view path) = 0;
    /// Puts `from` in the place of `to` in one step; a link at `to` is itself replaced.
    virtual void rename(std::string_view from, std::string_view to) = 0;
    /// Puts each of two files or folders in the place of the other, in one step; false, with both
    /// where they were, when this file system has no such step.
    [[nodiscard]] virtual bool swap(std::string_view one, std::string_view other) = 0;
    /// Removes a file or a link, never a folder; that nothing stands there is fine.
    virtual void remove(std::string_view path) = 0;
    /// Removes a folder that holds nothing; that nothing stands there is fine.
    virtual void removeFolder(std::string_view path) = 0;
    /// Makes an existing file or folder readable by the user alone, as if it had been made here.
    virtual void makePrivate(std::string_view path) = 0;
    /// Returns once the folder's entries have reached the disk.
    virtual void syncFolder(std::string_view path) = 0;
};

/// The path itself when it is absolute, else below the process's current folder, which is asked for
/// only then: it may have been removed.
[[nodiscard]] std::string absolutePath(FileSystem& files, std::string_view path);

}  // namespace kelto
