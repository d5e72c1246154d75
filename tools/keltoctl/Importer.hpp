#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/keltoctl/PlannedChanges.hpp"
#include "tools/keltoctl/Session.hpp"

namespace kelto::ctl {

struct ImportOptions {
    std::string folder;
    std::optional<std::string> projectName;  ///< of the folder's project; else the folder's name
    /// Whether the project stays tied to the folder: what has gone from it is then deleted from the
    /// library, and a file changed on both sides is kept twice.
    bool link = false;
    std::vector<std::string> tags;  ///< names, given to every thing
    std::int64_t nowMilliseconds = 0;
    bool dryRun = false;  ///< find out what would be sent, and send nothing
};

struct ImportReport {
    std::string rootId;                 ///< of the folder's project
    std::size_t added = 0;              ///< things new in the library
    std::size_t updated = 0;            ///< things sent that the library knew
    std::size_t unchanged = 0;          ///< files that are as the last import saw them
    std::size_t stood = 0;              ///< things sent where the library's own version was kept
    std::size_t deleted = 0;            ///< things and projects whose file or folder has gone
    std::size_t passedOver = 0;         ///< dotfiles, symbolic links, special files
    std::vector<std::string> problems;  ///< a sentence for each file that could not be read
    ExchangeReport exchange;
    std::vector<PlannedChange> planned;  ///< of a dry run
};

/// Makes a project of the folder and of each folder in it, and a thing of each file, in one
/// exchange. Importing the same folder again changes what has changed. The session has the
/// library's present state. Throws Refusal; then nothing was imported.
[[nodiscard]] ImportReport importFolder(Session& session, const ImportOptions& options);

}  // namespace kelto::ctl
