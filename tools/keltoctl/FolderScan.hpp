#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelto::ctl {

/// What import finds in a folder. Relative paths are the bytes of the file system; a folder stands
/// before what it holds, and siblings are in the order of their bytes.
struct FolderScan {
    struct Folder {
        std::string relativePath;
    };
    struct File {
        std::string relativePath;
        std::int64_t size = 0;
        std::int64_t modifiedNanoseconds = 0;  ///< since 1970
    };

    std::string root;             ///< absolute, symbolic links resolved
    std::vector<Folder> folders;  ///< without the root
    std::vector<File> files;
    std::vector<std::string> problems;    ///< one sentence for each file or folder passed over
    std::vector<std::string> unreadable;  ///< relative paths of those: they are there, not gone
    std::size_t passedOver = 0;           ///< dotfiles, symbolic links, sockets, pipes, devices
};

/// Walks the folder. Names that begin with a dot and symbolic links are passed over: a link could
/// lead out of the folder, or in a circle. Throws Refusal when `folder` itself cannot be read.
[[nodiscard]] FolderScan scanFolder(const std::string& folder);

}  // namespace kelto::ctl
