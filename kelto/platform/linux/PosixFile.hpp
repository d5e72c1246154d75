#pragma once

#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/types.h>

#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/linux/FileDescriptor.hpp"

struct stat;

namespace kelto {

/// The system's answer in our terms.
[[nodiscard]] FileStatus fileStatusOf(const struct stat& answer);

/// A file by its descriptor. Calls that a signal interrupts, and those that do only a part of the
/// work, are continued.
class PosixFile final : public File {
public:
    /// How a file is opened for reading. Without O_NONBLOCK, opening a FIFO would wait until
    /// somebody writes to it.
    static constexpr int readingFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

    /// How a file is made: nothing that stands there already is opened, a link included.
    static constexpr int makingFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    static constexpr mode_t privateMode = 0600;

    PosixFile(FileDescriptor descriptor, std::string path);

    /// The file behind a descriptor that was just opened for reading, or not (errno says why).
    /// Throws unless it is a regular file.
    [[nodiscard]] static std::unique_ptr<File> regular(FileDescriptor descriptor, std::string path);

    /// The file behind a descriptor that was just made with privateMode, or not (errno says why);
    /// of exactly that mode, whatever the process's umask has taken away.
    [[nodiscard]] static std::unique_ptr<File> made(FileDescriptor descriptor, std::string path);

    [[nodiscard]] const std::string& path() const override { return path_; }
    [[nodiscard]] FileStatus status() override;
    [[nodiscard]] std::size_t read(std::span<std::byte> buffer) override;
    void write(Bytes bytes) override;
    std::uint64_t copyFrom(File& source) override;
    void startSync(Reading reading) override;
    void sync() override;

private:
    [[nodiscard]] std::uint64_t copyInKernel(const PosixFile& source);

    FileDescriptor descriptor_;
    std::string path_;
};

}  // namespace kelto
