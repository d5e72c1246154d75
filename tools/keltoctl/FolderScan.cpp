#include "tools/keltoctl/FolderScan.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "kelto/foundation/FilePath.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
// The project tree is only followed this far by those who show it.
constexpr int depthLimit = 60;

struct Names {
    std::vector<std::string> sorted;
    int errorNumber = 0;  ///< of what kept the folder from being read; 0: nothing
};

Names namesIn(int folder) {
    Names names;
    // A descriptor of its own: the stream uses it up, and closes it.
    FileDescriptor own(::openat(folder, ".", folderFlags));
    const std::unique_ptr<DIR, int (*)(DIR*)> open(own ? ::fdopendir(own.number()) : nullptr,
                                                   &::closedir);
    if (!open) return {.sorted = {}, .errorNumber = errno};
    (void)own.release();
    errno = 0;
    while (const dirent* entry = ::readdir(open.get())) names.sorted.emplace_back(entry->d_name);
    names.errorNumber = errno;
    std::sort(names.sorted.begin(), names.sorted.end());
    return names;
}

class Walk {
public:
    explicit Walk(FolderScan& scan) : scan_(scan) {}

    void folder(int number, const std::string& relativePath, int depth) {
        const Names names = namesIn(number);
        if (names.errorNumber != 0) return problem(relativePath, names.errorNumber);
        for (const std::string& name : names.sorted) {
            if (name == "." || name == "..") continue;
            entry(
                number, name, relativePath.empty() ? name : joinedPath(relativePath, name), depth);
        }
    }

private:
    void entry(int parent, const std::string& name, const std::string& relativePath, int depth) {
        struct stat found {};
        if (name.front() == '.') {
            ++scan_.passedOver;
            return;
        }
        if (::fstatat(parent, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
            return problem(relativePath, errno);
        if (S_ISDIR(found.st_mode)) return subfolder(parent, name, relativePath, depth);
        if (!S_ISREG(found.st_mode)) {
            ++scan_.passedOver;
            return;
        }
        if (::faccessat(parent, name.c_str(), R_OK, AT_EACCESS) != 0)
            return problem(relativePath, errno);
        scan_.files.push_back(
            {relativePath,
             found.st_size,
             found.st_mtim.tv_sec * nanosecondsPerSecond + found.st_mtim.tv_nsec});
    }

    void subfolder(int parent,
                   const std::string& name,
                   const std::string& relativePath,
                   int depth) {
        const FileDescriptor opened(::openat(parent, name.c_str(), folderFlags));
        if (!opened) return problem(relativePath, errno);
        if (depth == depthLimit) return problem(relativePath, ELOOP);
        scan_.folders.push_back({relativePath});
        folder(opened.number(), relativePath, depth + 1);
    }

    void problem(const std::string& relativePath, int errorNumber) {
        scan_.problems.push_back(
            fileSentence("read", joinedPath(scan_.root, relativePath), errorNumber));
        scan_.unreadable.push_back(relativePath);
    }

    FolderScan& scan_;
};

}  // namespace

FolderScan scanFolder(const std::string& folder) {
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(folder.c_str(), nullptr),
                                                          &std::free);
    if (!resolved) throw Refusal(fileSentence("read", folder, errno));
    FolderScan scan;
    scan.root = resolved.get();
    const FileDescriptor opened(::open(scan.root.c_str(), folderFlags));
    if (!opened) throw Refusal(fileSentence("read", scan.root, errno));
    Walk(scan).folder(opened.number(), "", 0);
    if (std::find(scan.unreadable.begin(), scan.unreadable.end(), "") != scan.unreadable.end())
        throw Refusal(scan.problems.front());
    return scan;
}

}  // namespace kelto::ctl
