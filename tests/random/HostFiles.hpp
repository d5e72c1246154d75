#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelto::history {

/// The bytes of one file, with their SHA-256 digest in hexadecimal.
struct FileContent {
    std::string bytes;
    std::string digest;
};
using Content = std::shared_ptr<const FileContent>;
[[nodiscard]] Content contentOf(std::string bytes);

/// A host's change to one file: its new content, or, with none, its removal.
struct FileChange {
    std::string path;
    Content content;
};

/// What the library finds under a path that a record names.
struct FoundFile {
    enum class Kind { readable, unreadable, outside };
    Kind kind = Kind::outside;
    Content content;  ///< Only of a readable one.
};

/// The files that two hosts share with the library, as the model sees them: no disk, only names.
/// Everything lies below `root`; whoever plays a history on a disk puts another folder in its
/// place.
class HostFiles {
public:
    static constexpr std::string_view root = "/history";

    /// The folders, the links (name and target) and the files outside of every exchange folder that
    /// are there before a history begins.
    [[nodiscard]] static const std::vector<std::string>& firstFolders();
    [[nodiscard]] static const std::vector<std::pair<std::string, std::string>>& links();
    [[nodiscard]] static const std::vector<FileChange>& firstFiles();

    /// The path without ".", ".." and repeated slashes, whatever lies there.
    [[nodiscard]] static std::string withoutDots(std::string_view path);
    /// The last component, as far as it can be shown to a person (up to a NUL).
    [[nodiscard]] static std::string lastName(std::string_view path);

    HostFiles();
    void change(const FileChange& change);
    /// The same with its links resolved, all or none: in a path that leads nowhere they stay.
    [[nodiscard]] std::string resolved(std::string_view path) const;
    [[nodiscard]] FoundFile find(std::string_view path, std::string_view directory) const;
    /// All files by their resolved paths.
    [[nodiscard]] const std::map<std::string, Content>& all() const { return files_; }

private:
    [[nodiscard]] bool exists(const std::string& path) const;

    std::map<std::string, Content> files_;
};

}  // namespace kelto::history
