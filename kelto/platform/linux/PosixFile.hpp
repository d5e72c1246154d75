#pragma once

#include <string>

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
    PosixFile(FileDescriptor descriptor, std::string path);

    [[nodiscard]] const std::string& path() const override { return path_; }
    [[nodiscard]] FileStatus status() override;
    [[nodiscard]] std::size_t read(std::span<std::byte> buffer) override;
    void write(Bytes bytes) override;
    void sync() override;

private:
    FileDescriptor descriptor_;
    std::string path_;
};

}  // namespace kelto
