#include "tools/keltoctl/Exporter.hpp"

#include <array>
#include <cerrno>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/model/ThingMetadata.hpp"
#include "tools/keltoctl/FileCopy.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/LibraryTree.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Progress.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/SafeFileName.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

constexpr int numberLimit = 100'000;

/// A thing without a payload, as the text of a file.
struct TextFile {
    std::string name;
    std::string text;
};

std::string named(const ThingRecord& thing, std::string_view ending) {
    if (lowerCased(thing.fileName).ends_with(ending)) return thing.fileName;
    return displayTitle(thing) + std::string(ending);
}

/// None for a file-backed thing whose file is not here.
std::optional<TextFile> textFile(const ThingRecord& thing) {
    const ThingKind kind = kindOf(thing);
    if (isFileBacked(kind)) return std::nullopt;
    // A line break would end the address and begin another line of the file.
    const std::string url = replacingAll(replacingAll(thing.urlString, "\r", ""), "\n", "");
    if (isLinkBacked(kind))
        return TextFile{named(thing, ".url"), "[InternetShortcut]\r\nURL=" + url + "\r\n"};
    if (kind == ThingKind::note)
        return TextFile{named(thing, thing.fileName.ends_with(".txt") ? ".note.txt" : ".note.md"),
                        thing.content};
    std::string text = thing.content + "\n";
    const auto author = ThingMetadata::fromJson(thing.metadataJson).author;
    if (author && !author->empty()) text += "— " + *author + "\n";
    return TextFile{named(thing, ".quote.txt"), text};
}

std::string noFileSentence(const ThingRecord& thing) {
    return "“" + displayTitle(thing) + "” (" + std::string(shortIdentifier(thing.id)) +
           ") has no file in the library; nothing was written for it.";
}

/// The names that were given in one folder. Thousands of things may have the same title: where the
/// last one ended, the next one begins.
class GivenNames {
public:
    /// The first of "a.jpg", "a (2).jpg", … that `isFree` accepts; none after very many.
    template <typename IsFree>
    std::optional<std::string> firstFree(const std::string& wanted, const IsFree& isFree) {
        for (int& number = last_[wanted]; number < numberLimit;) {
            std::string name = numberedFileName(wanted, ++number);
            if (isFree(name)) return name;
        }
        return std::nullopt;
    }

private:
    std::unordered_map<std::string, int> last_;
};

/// The names that an export would take, in a folder that is there and in those it would make.
class ExportPlan {
public:
    /// `folder` is -1 for one that is not there yet.
    void branch(const LibraryBranch& branch, int folder, const std::string& path) {
        Folder names{.descriptor = folder};
        for (const ThingRecord* thing : branch.things) {
            if (thing->trashedAt) continue;
            const auto text = thing->data ? std::nullopt : textFile(*thing);
            if (!thing->data && !text) {
                report_.problems.push_back(noFileSentence(*thing));
                continue;
            }
            const std::string safe = safeFileName(text ? text->name : exportFileName(*thing));
            ++report_.files;
            report_.paths.push_back(joinedPath(path, freeName(safe, names)));
        }
        for (const LibraryBranch& child : branch.children) {
            const std::string name = freeName(safeFileName(child.project->name), names);
            const std::string below = joinedPath(path, name);
            ++report_.folders;
            report_.paths.push_back(below + "/");
            this->branch(child, -1, below);
        }
    }

    ExportReport takeReport() { return std::move(report_); }

private:
    struct Folder {
        int descriptor;
        GivenNames given{};
        std::unordered_set<std::string> taken{};
    };

    static std::string freeName(const std::string& wanted, Folder& folder) {
        const auto isFree = [&](const std::string& name) {
            struct stat status {};
            const bool isThere =
                folder.descriptor >= 0 &&
                ::fstatat(folder.descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
            return !isThere && folder.taken.insert(name).second;
        };
        return folder.given.firstFree(wanted, isFree).value_or(wanted);
    }

    ExportReport report_;
};

class Export {
public:
    explicit Export(const Snapshot& snapshot) : progress_("Writing", snapshot.things().size()) {}

    void branch(const LibraryBranch& branch, int folder, const std::string& path) {
        GivenNames names;
        for (const ThingRecord* thing : branch.things) {
            progress_.step();
            if (!thing->trashedAt) write(*thing, {folder, path, names});
        }
        for (const LibraryBranch& child : branch.children) {
            const auto [name, opened] = newFolder(child.project->name, {folder, path, names});
            if (opened) this->branch(child, opened.number(), joinedPath(path, name));
        }
    }

    ExportReport takeReport() { return std::move(report_); }

private:
    /// Where something is to be written.
    struct Folder {
        int descriptor;
        const std::string& path;
        GivenNames& names;
    };

    /// The name and the folder; no folder where there is none, which the report says then.
    std::pair<std::string, FileDescriptor> newFolder(const std::string& wanted,
                                                     const Folder& parent) {
        const std::string safe = safeFileName(wanted);
        int reason = 0;
        const auto name = parent.names.firstFree(safe, [&](const std::string& candidate) {
            const bool isMade = ::mkdirat(parent.descriptor, candidate.c_str(), 0777) == 0;
            reason = isMade ? 0 : errno;
            return reason != EEXIST;
        });
        if (!name || reason != 0) {
            problem("make the folder", joinedPath(parent.path, safe), reason);
            return {safe, FileDescriptor()};
        }
        ++report_.folders;
        FileDescriptor opened(::openat(parent.descriptor, name->c_str(), folderFlags));
        if (!opened) problem("open the folder", joinedPath(parent.path, *name), errno);
        return {*name, std::move(opened)};
    }

    void write(const ThingRecord& thing, const Folder& folder) {
        const auto text = thing.data ? std::nullopt : textFile(thing);
        if (!thing.data && !text) {
            report_.problems.push_back(noFileSentence(thing));
            return;
        }
        const std::string safe = safeFileName(text ? text->name : exportFileName(thing));
        FileDescriptor file;
        int reason = 0;
        const auto name = folder.names.firstFree(safe, [&](const std::string& candidate) {
            file = FileDescriptor(::openat(folder.descriptor,
                                           candidate.c_str(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                           0666));
            reason = file ? 0 : errno;
            return reason != EEXIST;
        });
        if (!name || !file) return problem("write", joinedPath(folder.path, safe), reason);
        if (fill(thing, text, std::move(file), joinedPath(folder.path, *name))) {
            ++report_.files;
        } else {
            // Nobody is to take half a file for the whole.
            ::unlinkat(folder.descriptor, name->c_str(), 0);
        }
    }

    /// Whether the file is complete; the report says why it is not.
    bool fill(const ThingRecord& thing,
              const std::optional<TextFile>& text,
              FileDescriptor file,
              const std::string& path) {
        if (text) {
            if (!writeAll(file.number(), text->text)) return failed("write", path, errno);
        } else if (!copyPayload(*thing.data, file.number(), path)) {
            return false;
        }
        setModified(file.number(), thing.updatedAt);
        if (!file.close()) return failed("write", path, errno);
        return true;
    }

    bool copyPayload(const std::string& source, int file, const std::string& path) {
        const FileDescriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
        if (!from) return failed("read", source, errno);
        try {
            copyContents(from.number(), source, file, path);
            return true;
        } catch (const Refusal& refusal) {
            report_.problems.emplace_back(refusal.what());
            return false;
        }
    }

    /// The file carries the thing's time, so that importing it again finds nothing newer.
    static void setModified(int file, std::int64_t milliseconds) {
        constexpr std::int64_t perSecond = 1000;
        constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
        const std::int64_t rest = ((milliseconds % perSecond) + perSecond) % perSecond;
        struct timespec modified {};
        modified.tv_sec = (milliseconds - rest) / perSecond;
        modified.tv_nsec = rest * nanosecondsPerMillisecond;
        const std::array times{modified, modified};
        ::futimens(file, times.data());  // only a convenience: a file system may refuse
    }

    void problem(std::string_view verb, const std::string& path, int reason) {
        report_.problems.push_back(fileSentence(verb, path, reason));
    }

    bool failed(std::string_view verb, const std::string& path, int reason) {
        problem(verb, path, reason);
        return false;
    }

    Progress progress_;
    ExportReport report_;
};

}  // namespace

ExportReport exportPlan(const Snapshot& snapshot, const std::string& folder) {
    ExportPlan plan;
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // One that is not there would be made.
    if (!opened && errno != ENOENT) throw Refusal(fileSentence("open the folder", folder, errno));
    plan.branch(libraryTree(snapshot), opened.number(), folder);
    return plan.takeReport();
}

ExportReport exportLibrary(const Snapshot& snapshot, const std::string& folder) {
    if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
        throw Refusal(fileSentence("make the folder", folder, errno));
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) throw Refusal(fileSentence("open the folder", folder, errno));
    Export exporting(snapshot);
    exporting.branch(libraryTree(snapshot), opened.number(), folder);
    return exporting.takeReport();
}

}  // namespace kelto::ctl
