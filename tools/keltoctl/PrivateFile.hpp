#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelto::ctl {

// Files and folders that only their user may read (0600, 0700). Each function throws Refusal with
// the name of the file and the system's reason.

/// The whole file; none when there is no such file.
[[nodiscard]] std::optional<std::string> readTextFile(const std::string& path);

/// The largest text that is read of what a user names: what a request may have.
inline constexpr std::size_t documentLimitBytes = 0xFFFF'FFFF;

/// A file that a user names, also a pipe; none when there is none. A device is refused: it may have
/// no end.
[[nodiscard]] std::optional<std::string> readNamedFile(const std::string& path);

/// What an open file holds from where it stands; throws Refusal also when it is longer than that.
[[nodiscard]] std::string readToEnd(int file, const std::string& name, std::size_t limitBytes);

/// The folder that a file of that name lies in, or would lie in; "." for a mere name.
[[nodiscard]] std::string folderOf(const std::string& path);

/// The size of the file in bytes, 0 when there is none.
[[nodiscard]] std::int64_t fileSize(const std::string& path);

/// Puts a complete new file in the place of `path`: a reader, or the next start after a power cut,
/// sees the old text or the new one, never a part.
void writeFileAtomically(const std::string& path, std::string_view text);

/// Makes the folder and what is missing above it.
void makePrivateFolder(const std::string& path);

/// Writes all bytes, whatever portions the system takes them in; false with errno set on failure.
[[nodiscard]] bool writeAll(int file, std::string_view bytes);

/// "cannot <verb> “path”: <system's reason>."
[[nodiscard]] std::string fileSentence(std::string_view verb,
                                       std::string_view path,
                                       int errorNumber);

}  // namespace kelto::ctl
