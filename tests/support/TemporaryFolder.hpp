#pragma once

#include <string>
#include <string_view>

namespace kelto {

/// A new folder in the system's folder for temporary files, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    /// Absolute, and free of symbolic links.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// The path of something in the folder.
    [[nodiscard]] std::string path(std::string_view name) const;
    /// Writes a file into the folder, replacing what was there; its path.
    std::string write(std::string_view name, std::string_view contents) const;
    /// The bytes of a file in the folder.
    [[nodiscard]] std::string read(std::string_view name) const;

private:
    std::string path_;
};

}  // namespace kelto
