#include "tools/keltoctl/HostState.hpp"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t folderNameLength = 16;

std::optional<std::string> absoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value != '/') return std::nullopt;
    return value;
}

FileDescriptor lockedFile(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file) throw Refusal(fileSentence("open", path, errno));
    while (::flock(file.number(), LOCK_EX) != 0)
        if (errno != EINTR) throw Refusal(fileSentence("lock", path, errno));
    return file;
}

}  // namespace

std::string HostState::baseFolder() {
    if (const auto stateHome = absoluteVariable("XDG_STATE_HOME"))
        return joinedPath(*stateHome, "keltoctl");
    if (const auto home = absoluteVariable("HOME"))
        return joinedPath(*home, ".local/state/keltoctl");
    throw Refusal(
        "there is no place for this tool's own files; set HOME or XDG_STATE_HOME to an absolute "
        "path.");
}

HostState::HostState(const std::string& baseFolder, const std::string& storePath)
    : folder_(joinedPath(baseFolder, sha256(storePath).hex().substr(0, folderNameLength))) {
    makePrivateFolder(folder_);
    lock_ = lockedFile(joinedPath(folder_, "lock"));
    makePrivateFolder(exchangeFolder());
}

std::string HostState::exchangeFolder() const {
    return joinedPath(folder_, "exchange");
}

std::string HostState::receivedFolder() const {
    return joinedPath(exchangeFolder(), "received");
}

std::string HostState::importMemoryFile() const {
    return joinedPath(folder_, "imports.json");
}

std::string HostState::snapshotFile() const {
    return joinedPath(folder_, "snapshot.json");
}

std::optional<Snapshot> HostState::lastSnapshot() const {
    const auto text = readTextFile(snapshotFile());
    if (!text) return std::nullopt;
    try {
        return Snapshot::parse(*text);
    } catch (const PlatformError& error) {
        throw Refusal("“" + snapshotFile() + "” cannot be used: " + error.what() +
                      " Remove the file; the next command fetches the library anew.");
    }
}

void HostState::keepSnapshot(std::string_view response) const {
    writeFileAtomically(snapshotFile(), response);
}

}  // namespace kelto::ctl
