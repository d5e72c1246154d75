#pragma once

#include <string>
#include <string_view>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// The folder "Lost and found" beside a store: whatever is taken out of the library while it is
/// mended, because it belongs to nothing or cannot be read, lies there afterwards. Nothing in it is
/// ever replaced, and nothing but a person removes anything from it.
class LostAndFound {
public:
    LostAndFound(FileSystem& files, Random& random, std::string_view storePath);

    [[nodiscard]] const std::string& folder() const { return folder_; }
    /// Moves a file here; answers its new path. The name gets a number when it is taken.
    std::string move(const std::string& path);
    /// Writes a file here, flushed; answers its path.
    std::string write(std::string_view name, Bytes bytes);
    /// A path here under which nothing stands yet; the folder is made.
    [[nodiscard]] std::string freePath(std::string_view name);

private:
    FileSystem& files_;
    Random& random_;
    std::string folder_;
};

/// "2026-11-21 19.30.05", in UTC: a moment as part of a file's name.
[[nodiscard]] std::string momentInName(const Date& moment);

}  // namespace kelto
