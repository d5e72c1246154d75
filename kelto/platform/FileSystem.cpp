#include "kelto/platform/FileSystem.hpp"

#include "kelto/foundation/FilePath.hpp"

namespace kelto {

std::string absolutePath(FileSystem& files, std::string_view path) {
    if (path.starts_with('/')) return std::string(path);
    return joinedPath(files.currentFolder(), path);
}

}  // namespace kelto
