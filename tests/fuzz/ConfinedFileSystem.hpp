#pragma once

#include <memory>
#include <string>

#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// The machine's files, but nothing outside of one folder: a request may name any folder of the
/// machine that it runs on, and an input of a fuzzer does. What lies outside is not there to be
/// read, and not allowed to be written.
class ConfinedFileSystem final : public FileSystem {
public:
    ConfinedFileSystem(std::shared_ptr<FileSystem> inner, std::string folder);

    [[nodiscard]] std::unique_ptr<File> openForReading(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<Folder> openFolder(std::string_view path) override;
    [[nodiscard]] std::unique_ptr<File> create(std::string_view path) override;
    [[nodiscard]] std::optional<FileStatus> status(std::string_view path) override;
    [[nodiscard]] std::optional<std::string> resolvedPath(std::string_view path) override;
    [[nodiscard]] std::vector<std::string> list(std::string_view folder) override;
    [[nodiscard]] std::string currentFolder() override { return folder_; }
    void createFolders(std::string_view path) override;
    void rename(std::string_view from, std::string_view to) override;
    [[nodiscard]] bool swap(std::string_view one, std::string_view other) override;
    void remove(std::string_view path) override;
    void removeFolder(std::string_view path) override;
    void makePrivate(std::string_view path) override;
    void syncFolder(std::string_view path) override;

private:
    [[nodiscard]] bool isInside(std::string_view path) const;
    void requireReadable(std::string_view path) const;
    void requireWritable(std::string_view path) const;

    std::shared_ptr<FileSystem> inner_;
    std::string folder_;
};

}  // namespace kelto
