#include "kelto/platform/linux/PosixFile.hpp"

#include <array>
#include <cerrno>
#include <limits>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

namespace {

/// A moment that 64 bits cannot hold (before 1678, after 2262) is the last one that they can.
std::int64_t nanoseconds(const timespec& time) {
    std::int64_t moment = 0;
    const bool isTooFar =
        __builtin_mul_overflow(std::int64_t{time.tv_sec}, 1'000'000'000, &moment) ||
        __builtin_add_overflow(moment, std::int64_t{time.tv_nsec}, &moment);
    if (!isTooFar) return moment;
    using Limits = std::numeric_limits<std::int64_t>;
    return time.tv_sec < 0 ? Limits::min() : Limits::max();
}

FileStatus::Kind kindOf(mode_t mode) {
    if (S_ISREG(mode)) return FileStatus::Kind::regular;
    if (S_ISLNK(mode)) return FileStatus::Kind::link;
    return S_ISDIR(mode) ? FileStatus::Kind::folder : FileStatus::Kind::other;
}

}  // namespace

FileStatus fileStatusOf(const struct stat& answer) {
    return {
        .kind = kindOf(answer.st_mode),
        .device = answer.st_dev,
        .inode = answer.st_ino,
        .size = static_cast<std::uint64_t>(answer.st_size),
        .modifiedNanoseconds = nanoseconds(answer.st_mtim),
        .changedNanoseconds = nanoseconds(answer.st_ctim),
        .permissions = answer.st_mode & 0777U,
    };
}

PosixFile::PosixFile(FileDescriptor descriptor, std::string path)
    : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

std::unique_ptr<File> PosixFile::made(FileDescriptor descriptor, std::string path) {
    if (!descriptor.isOpen()) throw PlatformError::fileWrite(path, errno);
    constexpr mode_t permissionBits = 0777;
    struct stat made {};
    const bool isPrivate =
        ::fstat(descriptor.number(), &made) == 0 && (made.st_mode & permissionBits) == privateMode;
    if (!isPrivate && ::fchmod(descriptor.number(), privateMode) != 0) {
        throw PlatformError::fileWrite(path, errno);
    }
    return std::make_unique<PosixFile>(std::move(descriptor), std::move(path));
}

std::unique_ptr<File> PosixFile::regular(FileDescriptor descriptor, std::string path) {
    if (!descriptor.isOpen()) {
        // Sockets, and devices that nobody drives, cannot even be opened.
        const bool isSpecial = errno == ENXIO || errno == ENODEV;
        throw PlatformError::fileRead(path, isSpecial ? EACCES : errno);
    }
    auto file = std::make_unique<PosixFile>(std::move(descriptor), std::move(path));
    switch (file->status().kind) {
        case FileStatus::Kind::regular:
            return file;
        case FileStatus::Kind::folder:
            throw PlatformError::fileRead(file->path(), EISDIR);
        case FileStatus::Kind::link:
        case FileStatus::Kind::other:
            break;
    }
    throw PlatformError::fileRead(file->path(), EACCES);
}

FileStatus PosixFile::status() {
    struct stat answer {};
    if (::fstat(descriptor_.number(), &answer) != 0) throw PlatformError::fileRead(path_, errno);
    return fileStatusOf(answer);
}

std::size_t PosixFile::read(std::span<std::byte> buffer) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const std::span<std::byte> rest = buffer.subspan(filled);
        const ssize_t count =
            uninterrupted([&] { return ::read(descriptor_.number(), rest.data(), rest.size()); });
        if (count < 0) throw PlatformError::fileRead(path_, errno);
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

void PosixFile::write(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t count = uninterrupted(
            [&] { return ::write(descriptor_.number(), bytes.data(), bytes.size()); });
        if (count < 0) throw PlatformError::fileWrite(path_, errno);
        // No disk takes nothing and reports no reason; trying for ever would hang the host.
        if (count == 0) throw PlatformError::fileWrite(path_, EIO);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

std::uint64_t PosixFile::copyFrom(File& source) {
    std::uint64_t copied = 0;
    if (const auto* file = dynamic_cast<PosixFile*>(&source)) copied = copyInKernel(*file);
    // What the kernel did not copy, for whatever reason: should it fail here too, it is clear which
    // of the two files is to blame.
    std::array<std::byte, 65536> buffer;
    while (const std::size_t count = source.read(buffer)) {
        write(Bytes(buffer).first(count));
        copied += count;
        if (count < buffer.size()) break;
    }
    return copied;
}

std::uint64_t PosixFile::copyInKernel(const PosixFile& source) {
    std::uint64_t copied = 0;
    for (;;) {
        const ssize_t count = uninterrupted([&] {
            return ::copy_file_range(source.descriptor_.number(),
                                     nullptr,
                                     descriptor_.number(),
                                     nullptr,
                                     syncStrideBytes,
                                     0);
        });
        if (count <= 0) return copied;
        copied += static_cast<std::uint64_t>(count);
        if (copied >= 2 * syncStrideBytes) startSync(Reading::perhaps);
    }
}

void PosixFile::startSync(Reading reading) {
    const int file = descriptor_.number();
    // Both range over the whole file: for what is on its way or gone already, they do nothing.
    (void)::sync_file_range(file, 0, 0, SYNC_FILE_RANGE_WRITE);
    constexpr off_t stays = off_t{4 * syncStrideBytes};
    const off_t end = ::lseek(file, 0, SEEK_CUR);
    if (reading == Reading::perhaps && end > stays) {
        (void)::posix_fadvise(file, 0, end - stays, POSIX_FADV_DONTNEED);
    }
}

void PosixFile::sync() {
    if (uninterrupted([&] { return ::fsync(descriptor_.number()); }) != 0) {
        throw PlatformError::fileWrite(path_, errno);
    }
}

}  // namespace kelto
