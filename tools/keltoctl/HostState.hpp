#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// What this host remembers of one library between two runs: the last answer, with the fingerprints
/// in it, and the exchange folder with the payload files that answer names. Every library (every
/// store path) has a folder of its own, so that a snapshot of one is never sent to another. Folders
/// and files are readable by the user alone.
class HostState {
public:
    /// "$XDG_STATE_HOME/keltoctl", else "~/.local/state/keltoctl". Throws Refusal when neither
    /// variable holds an absolute path.
    [[nodiscard]] static std::string baseFolder();

    /// Makes the folders that are missing, and waits until no other keltoctl uses this library's.
    HostState(const std::string& baseFolder, const std::string& storePath);

    [[nodiscard]] const std::string& folder() const { return folder_; }
    [[nodiscard]] std::string exchangeFolder() const;
    /// Where the library puts the payload files it sends.
    [[nodiscard]] std::string receivedFolder() const;
    [[nodiscard]] std::string importMemoryFile() const;

    /// The last answer; none before the first.
    [[nodiscard]] std::optional<Snapshot> lastSnapshot() const;
    void keepSnapshot(std::string_view response) const;

private:
    [[nodiscard]] std::string snapshotFile() const;

    std::string folder_;
    FileDescriptor lock_;
};

}  // namespace kelto::ctl
