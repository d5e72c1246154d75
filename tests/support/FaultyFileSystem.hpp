#pragma once

#include <cerrno>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Every call that a file system or one of its files can be asked for.
enum class FileOperation : std::uint8_t {
    openForReading,  ///< Also in an open folder.
    openFolder,
    create,
    status,  ///< Also in an open folder.
    resolvedPath,
    list,
    currentFolder,
    createFolders,
    rename,
    remove,
    syncFolder,
    fileStatus,
    fileRead,
    fileWrite,
    fileSync,
};

/// Which calls fail, and how.
struct FileFault {
    std::optional<FileOperation> operation;  ///< None: all of them.
    std::string pathPattern = "*";           ///< A shell pattern; "*" stands for slashes too.
    std::uint64_t after = 0;                 ///< So many calls that match still succeed.
    int errorNumber = EIO;
    bool onlyOnce = false;  ///< The calls after the failed one succeed again.
};

/// A file system over another one: it counts the calls and fails those that the test has chosen.
/// A failed call does nothing.
class FaultyFileSystem final : public FileSystem {
public:
    explicit FaultyFileSystem(std::shared_ptr<FileSystem> inner);
    FaultyFileSystem(const FaultyFileSystem&) = delete;
    FaultyFileSystem& operator=(const FaultyFileSystem&) = delete;
    ~FaultyFileSystem() override;

    void fail(FileFault fault);
    void heal();  ///< From now on nothing fails; the counts stay.
    /// Runs `action` once, just before the next call of that kind.
    void beforeNext(FileOperation operation, std::function<void()> action);
    /// From now on every file and folder seems to have been changed last at this moment, as on a
    /// file system whose clock stands still; none: the true times.
    void stopClock(std::optional<std::int64_t> nanoseconds);
    /// All calls so far, failed ones included.
    [[nodiscard]] std::uint64_t count() const;
    [[nodiscard]] std::uint64_t count(FileOperation operation) const;

    [[nodiscard]] std::unique_ptr<File> openForReading(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<Folder> openFolder(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<File> create(std::string_view path) override;
    [[nodiscard]] std::optional<FileStatus> status(std::string_view path) override;
    [[nodiscard]] std::optional<std::string> resolvedPath(std::string_view path) override;
    [[nodiscard]] std::vector<std::string> list(std::string_view folder) override;
    [[nodiscard]] std::string currentFolder() override;
    void createFolders(std::string_view path) override;
    /// A pattern matches by either path.
    void rename(std::string_view from, std::string_view to) override;
    /// Counts as a rename; a pattern matches by the second path.
    [[nodiscard]] bool swap(std::string_view one, std::string_view other) override;
    /// From now on no two files change their places in one step, as on an older file system.
    void forgetSwap() { canSwap_ = false; }
    void remove(std::string_view path) override;
    void removeFolder(std::string_view path) override;
    void makePrivate(std::string_view path) override;
    void syncFolder(std::string_view path) override;

private:
    class Faults;
    class WatchedFile;
    class WatchedFolder;

    std::shared_ptr<FileSystem> inner_;
    std::shared_ptr<Faults> faults_;
    bool canSwap_ = true;
};

}  // namespace kelto
