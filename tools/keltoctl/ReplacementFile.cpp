#include "tools/keltoctl/ReplacementFile.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/PrivateFile.hpp"

namespace kelto::ctl {

namespace {

constexpr std::string_view openFiles = "/proc/self/fd/";

/// None where the system cannot make one, or could not name it later.
FileDescriptor namelessFile(const std::string& folder) {
    if (::access(std::string(openFiles).c_str(), X_OK) != 0) return FileDescriptor();
    return FileDescriptor(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
}

}  // namespace

ReplacementFile::ReplacementFile(std::string target)
    : target_(std::move(target)), descriptor_(namelessFile(folderOf(target_))) {
    if (descriptor_) return;
    path_ = target_ + ".XXXXXX";
    descriptor_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));  // made with mode 0600
    if (!descriptor_) path_.clear();
}

ReplacementFile::~ReplacementFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
}

bool ReplacementFile::write(std::string_view bytes) {
    return writeAll(descriptor_.number(), bytes);
}

/// Gives the file without a name this one, unless it is taken.
bool ReplacementFile::takeName(const std::string& name) {
    const std::string handle = std::string(openFiles) + std::to_string(descriptor_.number());
    return ::linkat(AT_FDCWD, handle.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool ReplacementFile::takeNameBeside() {
    constexpr std::size_t markLength = 6;
    do {
        path_ = target_ + "." + randomIdentifier().substr(0, markLength);
        if (takeName(path_)) return true;
    } while (errno == EEXIST);
    path_.clear();
    return false;
}

bool ReplacementFile::takeFreePlace() {
    if (path_.empty()) return takeName(target_);
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
        path_.clear();
        return true;
    }
    // Not every file system knows this kind of renaming; the name beside goes with this object.
    return errno == EINVAL && ::link(path_.c_str(), target_.c_str()) == 0;
}

bool ReplacementFile::takePlace(Present present) {
    if (::fsync(descriptor_.number()) != 0) return false;
    if (present == Present::keep) {
        if (!takeFreePlace()) return false;
    } else {
        if (path_.empty() && !takeNameBeside()) return false;
        if (std::rename(path_.c_str(), target_.c_str()) != 0) return false;
        path_.clear();
    }
    if (!descriptor_.close()) return false;
    // Without this a power cut could bring the old name back, which is no harm but a surprise.
    const FileDescriptor opened(
        ::open(folderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) ::fsync(opened.number());
    return true;
}

}  // namespace kelto::ctl
