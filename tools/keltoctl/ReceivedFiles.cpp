#include "tools/keltoctl/ReceivedFiles.hpp"

#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace kelto::ctl {

namespace {
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
}

ReceivedFiles ReceivedFiles::in(const std::string& folder) {
    ReceivedFiles files;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.c_str()), &::closedir);
    if (!open) return files;
    while (const dirent* entry = ::readdir(open.get())) {
        struct stat found {};
        if (::fstatat(::dirfd(open.get()), entry->d_name, &found, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(found.st_mode))
            continue;
        files.stamps_[entry->d_name] = {
            found.st_ino,
            found.st_mtim.tv_sec * nanosecondsPerSecond + found.st_mtim.tv_nsec,
            found.st_size};
    }
    return files;
}

std::size_t ReceivedFiles::writtenSince(const ReceivedFiles& before) const {
    std::size_t written = 0;
    for (const auto& [name, stamp] : stamps_) {
        const auto known = before.stamps_.find(name);
        if (known == before.stamps_.end() || !(known->second == stamp)) ++written;
    }
    return written;
}

}  // namespace kelto::ctl
