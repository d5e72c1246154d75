#include "tools/keltoctl/IncomingFolder.hpp"

#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/FileCopy.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

IncomingFolder::IncomingFolder(const std::string& exchangeFolder)
    : folder_(joinedPath(exchangeFolder, "incoming")) {
    makePrivateFolder(folder_);
    empty();
}

IncomingFolder::~IncomingFolder() {
    empty();
}

void IncomingFolder::empty() const {
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder_.c_str()), &::closedir);
    if (!open) return;
    while (const dirent* entry = ::readdir(open.get()))
        // Folders, "." and ".." among them, are not removed by this and need not be.
        ::unlinkat(::dirfd(open.get()), entry->d_name, 0);
}

CopiedFile IncomingFolder::add(const std::string& source, std::string_view name) {
    // Not blocking: opening a named pipe would wait for a writer for ever.
    const FileDescriptor from(
        ::open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!from && errno == ELOOP)
        throw Refusal("“" + source + "” is a symbolic link; name the file that it leads to.");
    if (!from) throw Refusal(fileSentence("read", source, errno));
    struct stat found {};
    if (::fstat(from.number(), &found) != 0) throw Refusal(fileSentence("read", source, errno));
    if (!S_ISREG(found.st_mode))
        throw Refusal("“" + source + "” is not a file; name one that holds the bytes.");

    CopiedFile copy{.path = joinedPath(folder_, name), .size = found.st_size};
    FileDescriptor to(::open(copy.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!to) throw Refusal(fileSentence("write", copy.path, errno));
    try {
        copyContents(from.number(), source, to.number(), copy.path);
        if (!to.close()) throw Refusal(fileSentence("write", copy.path, errno));
    } catch (const Refusal&) {
        ::unlink(copy.path.c_str());
        throw;
    }
    return copy;
}

}  // namespace kelto::ctl
