#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelto::ctl {

/// What was true of a file when its copy was made.
struct CopiedFile {
    std::string path;  ///< of the copy
    std::int64_t size = 0;
};

/// The folder inside the exchange folder that payload files are handed over in: the library only
/// reads files that lie there. Emptied at the beginning, in case an earlier run was killed, and at
/// the end.
class IncomingFolder {
public:
    explicit IncomingFolder(const std::string& exchangeFolder);
    ~IncomingFolder();
    IncomingFolder(const IncomingFolder&) = delete;
    IncomingFolder& operator=(const IncomingFolder&) = delete;

    /// A copy of the regular file at `source` under `name`, sharing its blocks where the file
    /// system can. A symbolic link is not followed. Throws Refusal naming the file.
    [[nodiscard]] CopiedFile add(const std::string& source, std::string_view name);

private:
    void empty() const;

    std::string folder_;
};

}  // namespace kelto::ctl
