#pragma once

#include <memory>
#include <string>

#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/linux/FileDescriptor.hpp"

namespace kelto {

/// A folder by its descriptor, which holds on to it through every renaming.
class PosixFolder final : public Folder {
public:
    /// The folder at an absolute path; a link in any component is refused.
    [[nodiscard]] static std::unique_ptr<Folder> open(std::string path);

    PosixFolder(FileDescriptor descriptor, std::string path);

    [[nodiscard]] const std::string& path() const override { return path_; }
    [[nodiscard]] std::optional<FileStatus> status(std::string_view name) override;
    [[nodiscard]] std::unique_ptr<File> openForReading(std::string_view name) override;
    [[nodiscard]] std::unique_ptr<File> create(std::string_view name) override;
    void rename(std::string_view from, std::string_view to) override;
    void remove(std::string_view name) override;
    [[nodiscard]] bool hold(Hold hold) override;

private:
    FileDescriptor descriptor_;
    FileDescriptor held_;  // that of the folder itself is good for names only
    std::string path_;
};

/// The descriptor of the folder at an absolute path, reached component by component so that no link
/// is followed: for kernels that cannot do so in one call. None with errno when there is no way.
[[nodiscard]] FileDescriptor folderByWalking(const std::string& path);

}  // namespace kelto
