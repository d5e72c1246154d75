#include "tests/random/HostFiles.hpp"

#include <algorithm>

#include "kelto/foundation/Sha256.hpp"

namespace kelto::history {

namespace {

bool isBelow(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

std::string withLinksFollowed(std::string path) {
    for (const auto& [link, target] : HostFiles::links()) {
        if (path == link || isBelow(path, link)) path.replace(0, link.size(), target);
    }
    return path;
}

}  // namespace

Content contentOf(std::string bytes) {
    std::string digest = sha256(bytes).hex();
    return std::make_shared<FileContent>(FileContent{std::move(bytes), std::move(digest)});
}

const std::vector<std::string>& HostFiles::firstFolders() {
    static const std::vector<std::string> folders = {"/history",
                                                     "/history/a",
                                                     "/history/a/out",
                                                     "/history/a/empty",
                                                     "/history/b",
                                                     "/history/b/out",
                                                     "/history/b/empty",
                                                     "/history/ab",
                                                     "/history/outside"};
    return folders;
}

const std::vector<std::pair<std::string, std::string>>& HostFiles::links() {
    static const std::vector<std::pair<std::string, std::string>> links = {
        {"/history/alias-a", "/history/a"},
        {"/history/a/inward", "/history/a/out"},
        {"/history/b/inward", "/history/b/out"},
        {"/history/a/outward", "/history/outside"},
        {"/history/b/outward", "/history/outside"},
    };
    return links;
}

const std::vector<FileChange>& HostFiles::firstFiles() {
    static const std::vector<FileChange> files = {
        {"/history/outside/secret", contentOf("nobody's business")},
        {"/history/ab/neighbour", contentOf("its folder's name begins with another's")},
    };
    return files;
}

std::string HostFiles::withoutDots(std::string_view path) {
    std::vector<std::string_view> kept;
    while (!path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        const std::string_view name = path.substr(0, slash);
        path.remove_prefix(std::min(slash + 1, path.size()));
        if (name.empty() || name == ".") continue;
        if (name != "..") {
            kept.push_back(name);
        } else if (!kept.empty()) {
            kept.pop_back();
        }
    }
    std::string text;
    for (const std::string_view name : kept) text += "/" + std::string(name);
    return text.empty() ? "/" : text;
}

std::string HostFiles::lastName(std::string_view path) {
    const std::string plain = withoutDots(path);
    const std::string name = plain.substr(plain.rfind('/') + 1);
    return name.substr(0, name.find('\0'));
}

HostFiles::HostFiles() {
    for (const FileChange& file : firstFiles()) change(file);
}

void HostFiles::change(const FileChange& change) {
    const std::string path = withLinksFollowed(withoutDots(change.path));
    if (change.content) {
        files_[path] = change.content;
    } else {
        files_.erase(path);
    }
}

std::string HostFiles::resolved(std::string_view path) const {
    const std::string plain = withoutDots(path);
    const std::string target = withLinksFollowed(plain);
    return exists(target) ? target : plain;
}

FoundFile HostFiles::find(std::string_view path, std::string_view directory) const {
    if (!path.starts_with('/')) return {};  // it is relative to the process's current folder
    const std::string file = resolved(path);
    if (!isBelow(file, resolved(directory))) return {};
    const auto found = files_.find(file);
    if (found == files_.end()) return {FoundFile::Kind::unreadable, nullptr};
    return {FoundFile::Kind::readable, found->second};
}

bool HostFiles::exists(const std::string& path) const {
    const auto& folders = firstFolders();
    if (std::find(folders.begin(), folders.end(), path) != folders.end()) return true;
    const auto next = files_.lower_bound(path);
    if (next == files_.end()) return false;
    // "received" comes into being with the first file in it; an empty one is never named.
    return next->first == path || isBelow(next->first, path);
}

}  // namespace kelto::history
