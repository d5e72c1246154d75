#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace kelto::ctl {

/// What an import of a folder found, for the next import of the same folder: a file whose size and
/// time are still those need not be sent again, and a file that was there and is not is gone.
class ImportMemory {
public:
    struct Entry {
        std::string recordType;  ///< "Thing" for a file, "Project" for a folder
        std::string path;        ///< relative, for people
        std::int64_t size = 0;
        std::int64_t modifiedNanoseconds = 0;
        /// The thing's fileFingerprint when the library last held what the file holds. A later one
        /// is the library's change, which the file does not know of.
        std::string baseFileFingerprint;
    };
    /// By the identifier of the thing or project.
    using Entries = std::unordered_map<std::string, Entry>;

    /// Throws Refusal when the file cannot be used; a missing one is an empty memory.
    [[nodiscard]] static ImportMemory load(const std::string& file);
    void save(const std::string& file) const;

    /// Empty for a folder that was never imported. `rootId` is the identifier of its project.
    [[nodiscard]] const Entries& entries(const std::string& rootId) const;
    void replace(const std::string& rootId, Entries entries);

private:
    std::unordered_map<std::string, Entries> folders_;
};

}  // namespace kelto::ctl
