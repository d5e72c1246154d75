#include "kelto/platform/linux/PosixFolder.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/platform/linux/PosixFile.hpp"

namespace kelto {

namespace {

// Only a way to what lies in it: the folder itself need not be readable.
constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

/// A name with its end mark, for the system. One that cannot stand in any folder is the empty name,
/// which the system finds nowhere.
class ComponentName {
public:
    explicit ComponentName(std::string_view name) {
        const bool fits = name.size() < text_.size() && name != "." && name != ".." &&
                          name.find('/') == name.npos && name.find('\0') == name.npos;
        if (fits) std::memcpy(text_.data(), name.data(), name.size());
    }
    [[nodiscard]] const char* text() const { return text_.data(); }

private:
    std::array<char, 256> text_{};
};

/// Whether the kernel does not know the call, or a sandbox does not let it through.
bool isUnavailable(int errorNumber) {
    return errorNumber == ENOSYS || errorNumber == EPERM || errorNumber == EINVAL;
}

FileDescriptor folderInOneCall(const std::string& path) {
    open_how how{};
    how.flags = folderFlags;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const auto call = [&] {
        return static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how));
    };
    return FileDescriptor(uninterrupted(call));
}

}  // namespace

FileDescriptor folderByWalking(const std::string& path) {
    FileDescriptor here(uninterrupted([&] { return ::open("/", folderFlags); }));
    std::string_view rest = path;
    while (here.isOpen() && !rest.empty()) {
        const std::size_t end = rest.find('/');
        const std::string component(rest.substr(0, end));
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        if (component.empty()) continue;
        FileDescriptor next(uninterrupted(
            [&] { return ::openat(here.number(), component.c_str(), folderFlags | O_NOFOLLOW); }));
        // A link is no folder, and the system says only that; which of both it is, matters here.
        if (!next.isOpen() && errno == ENOTDIR) {
            struct stat found {};
            const bool isLink =
                ::fstatat(here.number(), component.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISLNK(found.st_mode);
            errno = isLink ? ELOOP : ENOTDIR;
        }
        if (!next.isOpen()) return next;
        here = std::move(next);
    }
    return here;
}

std::unique_ptr<Folder> PosixFolder::open(std::string path) {
    FileDescriptor descriptor = folderInOneCall(path);
    if (!descriptor.isOpen() && isUnavailable(errno)) descriptor = folderByWalking(path);
    if (!descriptor.isOpen()) throw PlatformError::fileRead(path, errno);
    return std::make_unique<PosixFolder>(std::move(descriptor), std::move(path));
}

PosixFolder::PosixFolder(FileDescriptor descriptor, std::string path)
    : descriptor_(std::move(descriptor)), held_(-1), path_(std::move(path)) {}

std::optional<FileStatus> PosixFolder::status(std::string_view name) {
    countWork(Work::filesExamined);
    const ComponentName component(name);
    struct stat answer {};
    if (::fstatat(descriptor_.number(), component.text(), &answer, AT_SYMLINK_NOFOLLOW) == 0) {
        return fileStatusOf(answer);
    }
    if (errno == ENOENT) return std::nullopt;
    throw PlatformError::fileRead(joinedPath(path_, name), errno);
}

std::unique_ptr<File> PosixFolder::create(std::string_view name) {
    countWork(Work::filesWritten);
    const ComponentName component(name);
    FileDescriptor descriptor(uninterrupted([&] {
        return ::openat(
            descriptor_.number(), component.text(), PosixFile::makingFlags, PosixFile::privateMode);
    }));
    const bool isOurs = descriptor.isOpen();
    try {
        return PosixFile::made(std::move(descriptor), joinedPath(path_, name));
    } catch (const PlatformError&) {
        if (isOurs) ::unlinkat(descriptor_.number(), component.text(), 0);
        throw;
    }
}

void PosixFolder::rename(std::string_view from, std::string_view to) {
    const ComponentName source(from);
    const ComponentName target(to);
    const int folder = descriptor_.number();
    if (::renameat(folder, source.text(), folder, target.text()) == 0) return;
    const int failure = errno;
    struct stat ignored {};
    const bool sourceIsMissing =
        failure == ENOENT && ::fstatat(folder, source.text(), &ignored, AT_SYMLINK_NOFOLLOW) != 0 &&
        errno == ENOENT;
    throw PlatformError::fileWrite(joinedPath(path_, sourceIsMissing ? from : to), failure);
}

void PosixFolder::remove(std::string_view name) {
    const ComponentName component(name);
    if (::unlinkat(descriptor_.number(), component.text(), 0) == 0 || errno == ENOENT) return;
    throw PlatformError::fileWrite(joinedPath(path_, name), errno);
}

bool PosixFolder::hold(Hold hold) {
    if (!held_.isOpen()) {
        held_ = FileDescriptor(uninterrupted([&] {
            return ::openat(descriptor_.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        }));
    }
    const int kind = hold == Hold::alone ? LOCK_EX : LOCK_SH;
    return held_.isOpen() && ::flock(held_.number(), kind | LOCK_NB) == 0;
}

std::unique_ptr<File> PosixFolder::openForReading(std::string_view name) {
    countWork(Work::filesExamined);
    const ComponentName component(name);
    FileDescriptor descriptor(uninterrupted([&] {
        return ::openat(
            descriptor_.number(), component.text(), PosixFile::readingFlags | O_NOFOLLOW);
    }));
    return PosixFile::regular(std::move(descriptor), joinedPath(path_, name));
}

}  // namespace kelto
