#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/random/HostFiles.hpp"

namespace kelto::history {

/// The hosts' folders of a history on the real disk, at `folder` instead of at HostFiles::root.
class FolderOnDisk {
public:
    explicit FolderOnDisk(std::string folder);

    void change(const FileChange& change);
    /// The host has taken these files over. Like every file that change() writes, each gets a time
    /// of its own: in a history, things happen faster than a file system's clock goes.
    void takeOver(const std::vector<FileChange>& files);
    /// Notes which files there are, to tell later which of them were written.
    void remember() { before_ = identities(); }
    /// The first file that is not as it should be: missing, left over, with other bytes, or written
    /// again although it should not. One that should have been written may be left alone when it
    /// holds the right bytes already.
    [[nodiscard]] std::optional<std::string> differenceTo(
        const HostFiles& expected, const std::vector<FileChange>& written) const;

private:
    /// What changes whenever somebody writes a file.
    struct Identity {
        std::uint64_t inode;
        std::int64_t size;
        std::int64_t modifiedNanoseconds;
        friend bool operator==(const Identity&, const Identity&) = default;
    };
    void stamp(const std::string& place);
    [[nodiscard]] std::string place(const std::string& path) const;
    /// By the path in the history.
    [[nodiscard]] std::map<std::string, Identity> identities() const;

    std::string folder_;
    std::map<std::string, Identity> before_;
    std::int64_t lastStamp_ = 0;
};

}  // namespace kelto::history
