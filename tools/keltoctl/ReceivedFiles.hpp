#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace kelto::ctl {

/// Which payload files a folder holds, told apart by what a new version of a file cannot share with
/// the old one. Two of these, taken before and after, count what was written in between.
class ReceivedFiles {
public:
    /// A folder that is not there holds no files.
    [[nodiscard]] static ReceivedFiles in(const std::string& folder);
    /// How many files here are not the ones that `before` saw.
    [[nodiscard]] std::size_t writtenSince(const ReceivedFiles& before) const;

private:
    struct Stamp {
        std::uint64_t inode = 0;
        std::int64_t modifiedNanoseconds = 0;
        std::int64_t size = 0;
        friend bool operator==(const Stamp&, const Stamp&) = default;
    };
    std::unordered_map<std::string, Stamp> stamps_;
};

}  // namespace kelto::ctl
