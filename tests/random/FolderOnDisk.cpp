#include "tests/random/FolderOnDisk.hpp"

#include <filesystem>
#include <fstream>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

#include "tests/support/Files.hpp"

namespace kelto::history {

FolderOnDisk::FolderOnDisk(std::string folder) : folder_(std::move(folder)) {
    for (const std::string& path : HostFiles::firstFolders()) {
        std::filesystem::create_directories(place(path));
    }
    for (const auto& [link, target] : HostFiles::links()) {
        std::filesystem::create_directory_symlink(place(target), place(link));
    }
    for (const FileChange& file : HostFiles::firstFiles()) change(file);
}

void FolderOnDisk::change(const FileChange& change) {
    if (change.content) {
        writeFile(place(change.path), change.content->bytes);
        stamp(place(change.path));
    } else {
        std::filesystem::remove(place(change.path));
    }
}

void FolderOnDisk::takeOver(const std::vector<FileChange>& files) {
    for (const FileChange& file : files) stamp(place(file.path));
}

void FolderOnDisk::stamp(const std::string& place) {
    const timespec time{1'000'000'000 + ++lastStamp_, 0};
    const timespec times[] = {time, time};
    ::utimensat(AT_FDCWD, place.c_str(), times, 0);
}

std::optional<std::string> FolderOnDisk::differenceTo(
    const HostFiles& expected, const std::vector<FileChange>& written) const {
    std::set<std::string> writtenPaths;
    for (const FileChange& file : written) writtenPaths.insert(expected.resolved(file.path));
    const auto after = identities();
    for (const auto& [path, identity] : after) {
        if (!expected.all().contains(path)) return path + " is left over";
    }
    for (const auto& [path, content] : expected.all()) {
        const auto found = after.find(path);
        if (found == after.end()) return path + " is missing";
        const auto earlier = before_.find(path);
        const bool isUntouched = earlier != before_.end() && earlier->second == found->second;
        if (!writtenPaths.contains(path)) {
            if (!isUntouched) return path + " was written, but the host holds it already";
        } else if (readFile(place(path)) != content->bytes) {
            return path + (isUntouched ? " was not written" : " holds other bytes");
        }
    }
    return std::nullopt;
}

std::string FolderOnDisk::place(const std::string& path) const {
    return folder_ + path.substr(HostFiles::root.size());
}

std::map<std::string, FolderOnDisk::Identity> FolderOnDisk::identities() const {
    std::map<std::string, Identity> identities;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_)) {
        if (entry.is_symlink() || !entry.is_regular_file()) continue;
        struct stat status = {};
        if (::stat(entry.path().c_str(), &status) != 0) continue;
        const std::string path =
            std::string(HostFiles::root) + entry.path().string().substr(folder_.size());
        identities[path] = {status.st_ino,
                            status.st_size,
                            static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 +
                                status.st_mtim.tv_nsec};
    }
    return identities;
}

}  // namespace kelto::history
