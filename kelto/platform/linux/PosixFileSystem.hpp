#pragma once

#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// The file system of the machine. Without state, so it may be used from any thread.
class PosixFileSystem final : public FileSystem {
public:
    [[nodiscard]] std::unique_ptr<File> openForReading(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<Folder> openFolder(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<File> create(std::string_view path) override;
    [[nodiscard]] std::optional<FileStatus> status(std::string_view path) override;
    [[nodiscard]] std::optional<std::string> resolvedPath(std::string_view path) override;
    [[nodiscard]] std::vector<std::string> list(std::string_view folder) override;
    [[nodiscard]] std::string currentFolder() override;
    void createFolders(std::string_view path) override;
    void rename(std::string_view from, std::string_view to) override;
    [[nodiscard]] bool swap(std::string_view one, std::string_view other) override;
    void remove(std::string_view path) override;
    void removeFolder(std::string_view path) override;
    void makePrivate(std::string_view path) override;
    void syncFolder(std::string_view path) override;
};

}  // namespace kelto
