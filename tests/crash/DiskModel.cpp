#include "tests/crash/DiskModel.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <sys/stat.h>

#include "kelto/foundation/FilePath.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace fs = std::filesystem;

namespace {

std::uint64_t inodeOf(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) throw std::runtime_error("nothing stands at " + path);
    return status.st_ino;
}

void put(std::string& contents, std::uint64_t offset, std::string_view bytes) {
    // Where nothing was written, a file holds zeros.
    if (contents.size() < offset + bytes.size()) contents.resize(offset + bytes.size(), '\0');
    contents.replace(offset, bytes.size(), bytes);
}

/// A write of which some sectors have arrived and others have not.
void putTorn(std::string& contents,
             std::uint64_t offset,
             std::string_view bytes,
             std::mt19937_64& dice) {
    while (!bytes.empty()) {
        const std::size_t toBorder = DiskModel::sectorBytes - offset % DiskModel::sectorBytes;
        const std::size_t count = std::min(toBorder, bytes.size());
        if (dice() % 2 == 0) put(contents, offset, bytes.substr(0, count));
        offset += count;
        bytes.remove_prefix(count);
    }
}

}  // namespace

DiskModel::DiskModel(const std::string& world) : world_(world), top_(load(world)) {}

std::shared_ptr<DiskModel::Folder> DiskModel::load(const std::string& path) {
    auto folder = std::make_shared<Folder>();
    for (const std::string& name : namesIn(path)) {
        const std::string place = path + "/" + name;
        if (fs::is_directory(place)) {
            folder->safe[name].folder = load(place);
            continue;
        }
        auto content = std::make_shared<Content>();
        content->safe = readFile(place);
        byInode_[inodeOf(place)] = content;
        folder->safe[name].file = content;
    }
    return folder;
}

DiskModel::Folder& DiskModel::folderAt(const std::string& path) const {
    if (!(path + "/").starts_with(world_ + "/")) throw std::runtime_error("not here: " + path);
    Folder* folder = top_.get();
    std::string_view rest = std::string_view(path).substr(world_.size());
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::string name(rest.substr(0, rest.find('/')));
        rest.remove_prefix(name.size());
        const auto entries = current(*folder, [](std::uint64_t) { return true; });
        const auto found = entries.find(name);
        if (found == entries.end() || !found->second.folder) {
            throw std::runtime_error("the journal knows no folder " + path);
        }
        folder = found->second.folder.get();
    }
    return *folder;
}

void DiskModel::apply(const JournalEntry& entry) {
    ++moment_;
    const std::string parent(withoutLastPathComponent(entry.path));
    const std::string name(lastPathComponent(entry.path));
    switch (entry.kind) {
        case CALL_CREATE: {
            auto content = std::make_shared<Content>();
            byInode_[entry.inode] = content;
            folderAt(parent).pending.push_back({moment_, name, Node{content, nullptr}, {}});
            return;
        }
        case CALL_MAKE_FOLDER:
            folderAt(parent).pending.push_back(
                {moment_, name, Node{nullptr, std::make_shared<Folder>()}, {}});
            return;
        case CALL_WRITE:
            byInode_.at(entry.inode)
                ->pending.push_back({moment_, false, entry.offset, entry.bytes});
            return;
        case CALL_TRUNCATE:
            byInode_.at(entry.inode)->pending.push_back({moment_, true, entry.offset, {}});
            return;
        case CALL_FLUSH: {
            Content& content = *byInode_.at(entry.inode);
            std::mt19937_64 unused;
            content.safe = current(
                content, [](std::uint64_t) { return true; }, 0, unused);
            content.pending.clear();
            return;
        }
        case CALL_FLUSH_FOLDER: {
            Folder& folder = folderAt(entry.path);
            folder.safe = current(folder, [](std::uint64_t) { return true; });
            folder.pending.clear();
            return;
        }
        case CALL_RENAME: {
            if (withoutLastPathComponent(entry.otherPath) != parent) {
                throw std::runtime_error("renamed from folder to folder: " + entry.path);
            }
            folderAt(parent).pending.push_back({moment_,
                                                std::string(lastPathComponent(entry.otherPath)),
                                                Node{byInode_.at(entry.inode), nullptr},
                                                name});
            return;
        }
        case CALL_UNLINK:
            folderAt(parent).pending.push_back({moment_, name, std::nullopt, {}});
            return;
        default:
            throw std::runtime_error("the journal has an entry that no disk knows");
    }
}

std::map<std::string, DiskModel::Node> DiskModel::current(const Folder& folder,
                                                          const Choice& keeps) {
    auto entries = folder.safe;
    for (const EntryChange& change : folder.pending) {
        if (!keeps(change.moment)) continue;
        if (!change.formerName.empty()) entries.erase(change.formerName);
        if (change.node) {
            entries[change.name] = *change.node;
        } else {
            entries.erase(change.name);
        }
    }
    return entries;
}

std::string DiskModel::current(const Content& content,
                               const Choice& keeps,
                               std::uint64_t torn,
                               std::mt19937_64& dice) {
    std::string bytes = content.safe;
    for (const Piece& piece : content.pending) {
        if (piece.moment == torn && !piece.isCut) {
            putTorn(bytes, piece.offset, piece.bytes, dice);
        } else if (keeps(piece.moment)) {
            if (piece.isCut) {
                bytes.resize(piece.offset, '\0');
            } else {
                put(bytes, piece.offset, piece.bytes);
            }
        }
    }
    return bytes;
}

void DiskModel::writeAfterCut(const std::string& target, Loss loss, std::mt19937_64& dice) const {
    // One moment of the last dozen, for a write to be torn or an order to end.
    const std::uint64_t chosen = moment_ - std::min<std::uint64_t>(moment_, dice() % 12);
    Choice keeps;
    std::uint64_t torn = 0;
    switch (loss) {
        case Loss::everything:
            keeps = [](std::uint64_t) { return false; };
            break;
        case Loss::nothing:
            keeps = [](std::uint64_t) { return true; };
            break;
        case Loss::some:
            // By the moment, so that the same change is asked about twice with one answer.
            keeps = [salt = dice()](std::uint64_t moment) {
                return ((moment * 0x9E3779B97F4A7C15U ^ salt) * 0xBF58476D1CE4E5B9U >> 63) != 0;
            };
            torn = chosen;
            break;
        case Loss::tail:
            keeps = [chosen](std::uint64_t moment) { return moment < chosen; };
            torn = chosen;
            break;
    }
    write(*top_, target, keeps, torn, dice);
}

void DiskModel::write(const Folder& folder,
                      const std::string& target,
                      const Choice& keeps,
                      std::uint64_t torn,
                      std::mt19937_64& dice) const {
    fs::create_directories(target);
    for (const auto& [name, node] : current(folder, keeps)) {
        const std::string place = target + "/" + name;
        if (node.folder) {
            write(*node.folder, place, keeps, torn, dice);
        } else if (!name.ends_with("-shm")) {  // SQLite makes it anew: it is only an index
            writeFile(place, current(*node.file, keeps, torn, dice));
        }
    }
}

}  // namespace kelto
