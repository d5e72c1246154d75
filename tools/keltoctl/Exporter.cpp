#include "tools/keltoctl/Exporter.hpp"

#include <array>
#include <cerrno>
#include <unordered_set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/model/ThingMetadata.hpp"
#include "tools/keltoctl/FileCopy.hpp"
#include "tools/keltoctl/FileDescriptor.hpp"
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
    if (const auto author = ThingMetadata::fromJson(thing.metadataJson).author)
        text += "— " + *author + "\n";
    return TextFile{named(thing, ".quote.txt"), text};
}

std::string noFileSentence(const ThingRecord& thing) {
    return "“" + displayTitle(thing) + "” (" + thing.id.substr(0, 8) +
           ") has no file in the library; nothing was written for it.";
}

/// The names that an export would take, in a folder that is there and in those it would make.
class ExportPlan {
public:
    /// `folder` is -1 for one that is not there yet.
    void branch(const LibraryBranch& branch, int folder, const std::string& path) {
        std::unordered_set<std::string> taken;
        for (const ThingRecord* thing : branch.things) {
            if (thing->trashedAt) continue;
            const auto text = thing->data ? std::nullopt : textFile(*thing);
            if (!thing->data && !text) {
                report_.problems.push_back(noFileSentence(*thing));
                continue;
            }
            const std::string safe = safeFileName(text ? text->name : exportFileName(*thing));
            ++report_.files;
            report_.paths.push_back(joinedPath(path, freeName(safe, folder, taken)));
        }
        for (const LibraryBranch& child : branch.children) {
            const std::string name = freeName(safeFileName(child.project->name), folder, taken);
            const std::string below = joinedPath(path, name);
            ++report_.folders;
            report_.paths.push_back(below + "/");
            this->branch(child, -1, below);
        }
    }

    ExportReport takeReport() { return std::move(report_); }

private:
    static std::string freeName(const std::string& wanted,
                                int folder,
                                std::unordered_set<std::string>& taken) {
        for (int number = 1;; ++number) {
            std::string name = numberedFileName(wanted, number);
            struct stat status {};
            const bool isThere =
                folder >= 0 && ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
            if (isThere || !taken.insert(name).second) continue;
            return name;
        }
    }

    ExportReport report_;
};

class Export {
public:
    explicit Export(const Snapshot& snapshot) : progress_("Writing", snapshot.things().size()) {}

    void branch(const LibraryBranch& branch, int folder, const std::string& path) {
        for (const ThingRecord* thing : branch.things) {
            progress_.step();
            if (!thing->trashedAt) write(*thing, folder, path);
        }
        for (const LibraryBranch& child : branch.children) {
            const auto [name, opened] = newFolder(folder, child.project->name, path);
            if (opened) this->branch(child, opened.number(), joinedPath(path, name));
        }
    }

    ExportReport takeReport() { return std::move(report_); }

private:
    std::pair<std::string, FileDescriptor> newFolder(int parent,
                                                     const std::string& wanted,
                                                     const std::string& path) {
        const std::string safe = safeFileName(wanted);
        for (int number = 1; number < numberLimit; ++number) {
            const std::string name = numberedFileName(safe, number);
            if (::mkdirat(parent, name.c_str(), 0777) == 0) {
                ++report_.folders;
                return {name, FileDescriptor(::openat(parent, name.c_str(), folderFlags))};
            }
            if (errno != EEXIST) break;
        }
        problem("make the folder", joinedPath(path, safe));
        return {safe, FileDescriptor()};
    }

    void write(const ThingRecord& thing, int folder, const std::string& path) {
        const auto text = thing.data ? std::nullopt : textFile(thing);
        if (!thing.data && !text) {
            report_.problems.push_back(noFileSentence(thing));
            return;
        }
        const std::string safe = safeFileName(text ? text->name : exportFileName(thing));
        for (int number = 1; number < numberLimit; ++number) {
            const std::string name = numberedFileName(safe, number);
            FileDescriptor file(::openat(
                folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
            if (file) return fill(thing, text, std::move(file), joinedPath(path, name));
            if (errno != EEXIST) break;
        }
        problem("write", joinedPath(path, safe));
    }

    void fill(const ThingRecord& thing,
              const std::optional<TextFile>& text,
              FileDescriptor file,
              const std::string& path) {
        try {
            if (text) {
                if (!writeAll(file.number(), text->text)) return problem("write", path);
            } else {
                const FileDescriptor from(::open(thing.data->c_str(), O_RDONLY | O_CLOEXEC));
                if (!from) return problem("read", *thing.data);
                copyContents(from.number(), *thing.data, file.number(), path);
            }
        } catch (const Refusal& refusal) {
            report_.problems.emplace_back(refusal.what());
            return;
        }
        setModified(file.number(), thing.updatedAt);
        if (!file.close()) return problem("write", path);
        ++report_.files;
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

    void problem(std::string_view verb, const std::string& path) {
        report_.problems.push_back(fileSentence(verb, path, errno));
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
