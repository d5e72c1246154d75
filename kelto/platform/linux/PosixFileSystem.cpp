#include "kelto/platform/linux/PosixFileSystem.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/platform/linux/FileDescriptor.hpp"
#include "kelto/platform/linux/PosixFile.hpp"
#include "kelto/platform/linux/PosixFolder.hpp"

namespace kelto {

namespace {

constexpr mode_t privateFolderMode = 0700;
constexpr mode_t permissionBits = 0777;

/// The system would stop reading at a NUL and look at another file than the one that was named.
bool holdsNul(std::string_view path) {
    return path.find('\0') != std::string_view::npos;
}

std::string readablePath(std::string_view path) {
    if (holdsNul(path)) throw PlatformError::fileRead(path, ENOENT);
    return std::string(path);
}

std::string writablePath(std::string_view path) {
    if (holdsNul(path)) throw PlatformError::fileWrite(path, ENOENT);
    return std::string(path);
}

/// Whether a failed look-up says that the path leads nowhere, rather than that nobody may know.
bool saysAbsent(int errorNumber) {
    return errorNumber == ENOENT || errorNumber == ENOTDIR || errorNumber == ELOOP ||
           errorNumber == ENAMETOOLONG;
}

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};
using SystemText = std::unique_ptr<char, FreeText>;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Gives what was just made exactly this mode: the process's umask may have taken bits away.
/// 0, or -1 with errno.
int restorePermissions(const std::string& path, mode_t mode) {
    struct stat made {};
    if (::lstat(path.c_str(), &made) != 0) return -1;
    if ((made.st_mode & permissionBits) == mode) return 0;
    // Whoever has put a link in its place meanwhile does not get the link's target changed.
    return ::fchmodat(AT_FDCWD, path.c_str(), mode, AT_SYMLINK_NOFOLLOW);
}

/// Makes one folder and answers 0 or the errno of its failure; that it is already there is fine.
int makeFolder(const std::string& path) {
    if (::mkdir(path.c_str(), privateFolderMode) == 0) {
        return restorePermissions(path, privateFolderMode) == 0 ? 0 : errno;
    }
    const int failure = errno;
    if (failure != EEXIST) return failure;
    struct stat existing {};
    const bool isFolder = ::stat(path.c_str(), &existing) == 0 && S_ISDIR(existing.st_mode);
    return isFolder ? 0 : EEXIST;
}

bool isMissing(const std::string& path) {
    struct stat ignored {};
    return ::lstat(path.c_str(), &ignored) != 0 && errno == ENOENT;
}

}  // namespace

std::unique_ptr<File> PosixFileSystem::openForReading(std::string_view path) {
    countWork(Work::filesExamined);
    std::string name = readablePath(path);
    FileDescriptor descriptor(
        uninterrupted([&] { return ::open(name.c_str(), PosixFile::readingFlags); }));
    return PosixFile::regular(std::move(descriptor), std::move(name));
}

std::unique_ptr<Folder> PosixFileSystem::openFolder(std::string_view path) {
    return PosixFolder::open(readablePath(path));
}

std::unique_ptr<File> PosixFileSystem::create(std::string_view path) {
    countWork(Work::filesWritten);
    std::string name = writablePath(path);
    FileDescriptor descriptor(uninterrupted(
        [&] { return ::open(name.c_str(), PosixFile::makingFlags, PosixFile::privateMode); }));
    const bool isOurs = descriptor.isOpen();
    try {
        return PosixFile::made(std::move(descriptor), name);
    } catch (const PlatformError&) {
        if (isOurs) ::unlink(name.c_str());
        throw;
    }
}

std::optional<FileStatus> PosixFileSystem::status(std::string_view path) {
    countWork(Work::filesExamined);
    if (holdsNul(path)) return std::nullopt;
    struct stat answer {};
    if (::stat(std::string(path).c_str(), &answer) == 0) return fileStatusOf(answer);
    if (saysAbsent(errno)) return std::nullopt;
    throw PlatformError::fileRead(path, errno);
}

std::optional<std::string> PosixFileSystem::resolvedPath(std::string_view path) {
    if (holdsNul(path)) return std::nullopt;
    const SystemText resolved(::realpath(std::string(path).c_str(), nullptr));
    if (resolved) return std::string(resolved.get());
    if (saysAbsent(errno)) return std::nullopt;
    throw PlatformError::fileRead(path, errno);
}

std::vector<std::string> PosixFileSystem::list(std::string_view folder) {
    const std::unique_ptr<DIR, CloseFolder> stream(::opendir(readablePath(folder).c_str()));
    if (!stream) throw PlatformError::fileRead(folder, errno);
    std::vector<std::string> names;
    for (;;) {
        errno = 0;  // the only way to tell the end from a failure
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) throw PlatformError::fileRead(folder, errno);
    return names;
}

std::string PosixFileSystem::currentFolder() {
    const SystemText folder(::getcwd(nullptr, 0));
    if (!folder) throw PlatformError::fileRead(".", errno);
    return folder.get();
}

void PosixFileSystem::createFolders(std::string_view path) {
    const std::string name = writablePath(path);
    int failure = makeFolder(name);
    if (failure == ENOENT) {
        const std::string_view parent = withoutLastPathComponent(path);
        if (!parent.empty() && parent != path) {
            createFolders(parent);
            failure = makeFolder(name);
        }
    }
    if (failure != 0) throw PlatformError::fileWrite(path, failure);
}

void PosixFileSystem::rename(std::string_view from, std::string_view to) {
    const std::string source = writablePath(from);
    const std::string target = writablePath(to);
    if (::rename(source.c_str(), target.c_str()) == 0) return;
    const int failure = errno;
    const bool sourceIsMissing = failure == ENOENT && isMissing(source);
    throw PlatformError::fileWrite(sourceIsMissing ? from : to, failure);
}

bool PosixFileSystem::swap(std::string_view one, std::string_view other) {
    const std::string first = writablePath(one);
    const std::string second = writablePath(other);
    if (::renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE) == 0) {
        return true;
    }
    // An older kernel, or a file system that has not learnt it.
    if (errno == EINVAL || errno == ENOSYS) return false;
    throw PlatformError::fileWrite(other, errno);
}

void PosixFileSystem::remove(std::string_view path) {
    if (holdsNul(path)) return;
    if (::unlink(std::string(path).c_str()) == 0) return;
    // A file in the middle of the path: below it, too, nothing stands.
    if (errno == ENOENT || errno == ENOTDIR) return;
    throw PlatformError::fileWrite(path, errno);
}

void PosixFileSystem::removeFolder(std::string_view path) {
    if (holdsNul(path)) return;
    if (::rmdir(std::string(path).c_str()) == 0) return;
    if (errno == ENOENT) return;
    throw PlatformError::fileWrite(path, errno);
}

void PosixFileSystem::makePrivate(std::string_view path) {
    const std::string name = writablePath(path);
    struct stat found {};
    if (::stat(name.c_str(), &found) != 0) throw PlatformError::fileWrite(path, errno);
    const mode_t mode = S_ISDIR(found.st_mode) ? privateFolderMode : PosixFile::privateMode;
    if (::chmod(name.c_str(), mode) != 0) throw PlatformError::fileWrite(path, errno);
}

void PosixFileSystem::syncFolder(std::string_view path) {
    const std::string name = writablePath(path);
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    const FileDescriptor folder(uninterrupted([&] { return ::open(name.c_str(), flags); }));
    if (!folder.isOpen()) throw PlatformError::fileWrite(path, errno);
    if (uninterrupted([&] { return ::fsync(folder.number()); }) == 0) return;
    // Some network file systems keep no entries of their own to flush, and say so.
    if (errno == EINVAL || errno == ENOTSUP) return;
    throw PlatformError::fileWrite(path, errno);
}

}  // namespace kelto
