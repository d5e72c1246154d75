#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// How much of a file stands in memory while it is copied or hashed.
inline constexpr std::size_t transferBufferBytes = std::size_t{256} * 1024;

/// The file's bytes. For small files that the library itself wrote; larger than `limit` bytes is
/// refused as a file error (EFBIG).
[[nodiscard]] std::string readWholeFile(FileSystem& files,
                                        std::string_view path,
                                        std::size_t limit);

/// Whether a write must have reached the disk when the call returns.
enum class Durability { flushed, relaxed };

/// Replaces the file at `path` in one step by what `fill` writes: a temporary file beside it,
/// flushed when asked, then renamed. After any failure the old file stands and no temporary is
/// left.
void writeAtomically(FileSystem& files,
                     Random& random,
                     std::string_view path,
                     Durability durability,
                     const std::function<void(File&)>& fill);
/// The same by a temporary file of this name (temporaryPathBeside()).
void writeAtomically(FileSystem& files,
                     const std::string& temporaryPath,
                     std::string_view path,
                     Durability durability,
                     const std::function<void(File&)>& fill);

/// The same, not flushed, for a file of an open folder; both names are single components.
void writeAtomically(Folder& folder,
                     const std::string& temporaryName,
                     std::string_view name,
                     const std::function<void(File&)>& fill);

/// The name of a temporary file beside `path`, different every time.
[[nodiscard]] std::string temporaryPathBeside(std::string_view path, Random& random);

/// Whether a file of that name was made by temporaryPathBeside().
[[nodiscard]] bool isTemporaryName(std::string_view name);

/// Removes the temporary files in a folder, which processes that were killed have left there. Only
/// where nobody else can be writing one at this moment. A file or a folder that resists is left: a
/// leftover costs room and nothing else.
void removeTemporaryFiles(FileSystem& files, std::string_view folder) noexcept;
void removeTemporaryFiles(FileSystem& files, Folder& folder) noexcept;

/// FileSystem::createFolders(); whatever had to be made is there after a power cut, too. An
/// existing folder is only looked at.
void createFoldersDurably(FileSystem& files, std::string_view path);

/// `failure`, but with the name of `path` where it names the temporary file: nobody has ever heard
/// of that one. Other failures come back as they are.
[[nodiscard]] PlatformError namedInsteadOf(std::string_view temporaryPath,
                                           std::string_view path,
                                           const PlatformError& failure);

/// Runs `work`, and passes its failures on as namedInsteadOf() makes them.
template <typename Work>
auto namingInsteadOf(std::string_view temporaryPath, std::string_view path, Work work) {
    try {
        return work();
    } catch (const PlatformError& failure) {
        throw namedInsteadOf(temporaryPath, path, failure);
    }
}

}  // namespace kelto
