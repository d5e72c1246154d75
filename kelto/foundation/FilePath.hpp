#pragma once

#include <string>
#include <string_view>

namespace kelto {

// Rules for names and paths that never look at the disk. A path is bytes; "/" separates components.

/// The last component; "/" for the root, "" for "". Trailing slashes do not count.
[[nodiscard]] std::string_view lastPathComponent(std::string_view path);

/// The path without its last component and without the slash before it ("/a/b" gives "/a", "/a"
/// gives "/", "a" gives "").
[[nodiscard]] std::string_view withoutLastPathComponent(std::string_view path);

/// The text after the last dot of the last component: none for a name that begins with its only
/// dot, that ends in a dot, whose rest would be "." or "..", or whose extension would hold a blank
/// or a direction mark.
[[nodiscard]] std::string_view pathExtension(std::string_view path);

/// The path without that extension, its dot and the slashes behind them; unchanged when there is
/// none.
[[nodiscard]] std::string_view withoutPathExtension(std::string_view path);

/// The two joined by exactly one slash.
[[nodiscard]] std::string joinedPath(std::string_view folder, std::string_view name);

/// An absolute path with "." and ".." resolved lexically (".." at the root vanishes), repeated
/// slashes compressed and the final slash dropped. `base`, itself absolute, is put before a
/// relative path.
[[nodiscard]] std::string standardizedPath(std::string_view path, std::string_view base = "/");

}  // namespace kelto
