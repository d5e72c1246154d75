#include "tools/keltoctl/Importer.hpp"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/FileDraft.hpp"
#include "tools/keltoctl/FolderScan.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/ImportMemory.hpp"
#include "tools/keltoctl/IncomingFolder.hpp"
#include "tools/keltoctl/Progress.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/TagNames.hpp"

namespace kelto::ctl {

namespace {

constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;

bool liesUnder(std::string_view path, std::string_view folder) {
    return path == folder ||
           (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

/// One import on its way: from the scanned folder to the records, and from the answer to what the
/// next import has to know.
class Import {
public:
    Import(Session& session, const ImportOptions& options)
        : session_(session),
          options_(options),
          scan_(scanFolder(options.folder)),
          rootId_(projectId("")),
          memory_(ImportMemory::load(session.state().importMemoryFile())),
          known_(memory_.entries(rootId_)),
          incoming_(session.state().exchangeFolder()) {}

    ImportReport run() {
        report_.rootId = rootId_;
        report_.passedOver = scan_.passedOver;
        const TagsByName tags =
            tagsByName(session_.snapshot(), options_.tags, options_.nowMilliseconds);
        for (const TagRecord& tag : tags.added) records_.push_back(toRecord(tag));
        tagIds_ = tags.ids;
        addProjects();
        addThings();
        settleMissing();
        if (options_.dryRun) {
            report_.planned = plannedChanges(session_.snapshot(), records_);
        } else {
            report_.exchange = session_.send(std::move(records_));
            rememberAnswer();
        }
        report_.problems = std::move(scan_.problems);
        return std::move(report_);
    }

private:
    [[nodiscard]] std::string projectId(std::string_view path) const {
        return importIdentifier("Project", scan_.root, path);
    }

    void addProjects() {
        std::string name = repairedUtf8(lastPathComponent(scan_.root));
        addProject("", options_.projectName.value_or(name), std::nullopt, 0);
        std::unordered_map<std::string, std::int64_t> siblings;
        for (const FolderScan::Folder& folder : scan_.folders) {
            const std::string parent(withoutLastPathComponent(folder.relativePath));
            addProject(folder.relativePath,
                       repairedUtf8(lastPathComponent(folder.relativePath)),
                       projectId(parent),
                       siblings[parent]++);
        }
    }

    void addProject(const std::string& path,
                    const std::string& name,
                    const std::optional<std::string>& parent,
                    std::int64_t sortOrder) {
        const bool isRoot = path.empty();
        const std::string id = projectId(path);
        const ProjectRecord* stored = session_.snapshot().findProject(id);
        // What the user renamed or moved in the library stays where it is.
        ProjectRecord project = stored != nullptr
                                    ? *stored
                                    : ProjectRecord{.id = id,
                                                    .createdAt = options_.nowMilliseconds,
                                                    .name = name,
                                                    .sortOrder = sortOrder,
                                                    .linkedFolderOwner = "",
                                                    .parent = parent};
        if (isRoot && options_.projectName) project.name = *options_.projectName;
        if (isRoot && options_.link) project.linkedFolderOwner = "keltoctl-" + rootId_;
        if (stored == nullptr || !(*stored == project)) records_.push_back(toRecord(project));
        seen_[id] = {
            .recordType = "Project", .path = repairedUtf8(path), .baseFileFingerprint = ""};
    }

    void addThings() {
        Progress progress("Reading", scan_.files.size());
        for (const FolderScan::File& file : scan_.files) {
            progress.step();
            try {
                addThing(file);
            } catch (const Refusal& refusal) {
                scan_.problems.emplace_back(refusal.what());
                scan_.unreadable.push_back(file.relativePath);
            }
        }
    }

    void addThing(const FolderScan::File& file) {
        const std::string id = importIdentifier("Thing", scan_.root, file.relativePath);
        const ThingRecord* stored = session_.snapshot().findThing(id);
        const auto before = known_.find(id);
        ImportMemory::Entry entry{.recordType = "Thing",
                                  .path = repairedUtf8(file.relativePath),
                                  .size = file.size,
                                  .modifiedNanoseconds = file.modifiedNanoseconds,
                                  .baseFileFingerprint = ""};
        if (before != known_.end()) entry.baseFileFingerprint = before->second.baseFileFingerprint;
        const bool isUnchanged = before != known_.end() && stored != nullptr &&
                                 before->second.size == file.size &&
                                 before->second.modifiedNanoseconds == file.modifiedNanoseconds &&
                                 !isOlderThan(file, *stored);

        ThingRecord thing;
        if (stored != nullptr) thing = *stored;
        thing.id = id;
        const bool gainsTags = addTags(thing);
        if (!isUnchanged) {
            takeOver(file, thing, stored == nullptr);
            sent_.push_back({id, thing.updatedAt});
        } else if (gainsTags) {
            thing.updatedAt = std::max(options_.nowMilliseconds, thing.updatedAt);
        } else {
            ++report_.unchanged;
            seen_[id] = std::move(entry);
            return;
        }
        if (!entry.baseFileFingerprint.empty())
            thing.baseFileFingerprint = entry.baseFileFingerprint;
        ++(stored == nullptr ? report_.added : report_.updated);
        records_.push_back(toRecord(thing));
        seen_[id] = std::move(entry);
    }

    /// A library that was restored from a backup may hold the thing as it was before the last
    /// import.
    static bool isOlderThan(const FolderScan::File& file, const ThingRecord& stored) {
        return stored.updatedAt < file.modifiedNanoseconds / nanosecondsPerMillisecond;
    }

    bool addTags(ThingRecord& thing) const {
        const std::size_t before = thing.tags.size();
        for (const std::string& tag : tagIds_)
            if (std::find(thing.tags.begin(), thing.tags.end(), tag) == thing.tags.end())
                thing.tags.push_back(tag);
        return thing.tags.size() != before;
    }

    /// Sets what the file decides. Tags, star, note, subtitle and a title the user gave are the
    /// library's own.
    void takeOver(const FolderScan::File& file, ThingRecord& thing, bool isNew) {
        const std::string path = joinedPath(scan_.root, file.relativePath);
        const std::string name(lastPathComponent(file.relativePath));
        const FileDraft draft = draftOfFile(name, path);
        thing.kind = rawValue(draft.kind);
        if (thing.title.empty()) thing.title = draft.title;
        thing.content = draft.content;
        thing.urlString = draft.urlString;
        thing.fileName = repairedUtf8(name);
        thing.typeIdentifier = draft.typeIdentifier;
        thing.aspectRatio = draft.aspectRatio;
        thing.fileSize = file.size;
        thing.updatedAt = file.modifiedNanoseconds / nanosecondsPerMillisecond;
        thing.data.reset();
        thing.thumbnail.reset();  // it showed the bytes of before
        if (draft.isPayload) {
            // What is not sent is not copied either.
            const CopiedFile copy =
                options_.dryRun ? CopiedFile{path, file.size} : incoming_.add(path, thing.id);
            thing.data = copy.path;
            thing.fileSize = copy.size;
        }
        JsonMembers metadata = draft.metadata;
        if (options_.link)
            metadata.emplace_back("linkedRelativePath", repairedUtf8(file.relativePath));
        thing.metadataJson = mergedMetadata(thing.metadataJson, metadata);
        if (isNew) thing.createdAt = thing.updatedAt;
        if (isNew || options_.link)
            thing.project = projectId(withoutLastPathComponent(file.relativePath));
    }

    /// What the last import saw and this one did not: unreadable now, or gone.
    void settleMissing() {
        // A disk that is not mounted looks like an empty folder. Believing it would delete all.
        const auto isFile = [](const auto& known) { return known.second.recordType == "Thing"; };
        if (options_.link && scan_.files.empty() && scan_.unreadable.empty() &&
            std::any_of(known_.begin(), known_.end(), isFile))
            throw Refusal("“" + scan_.root +
                          "” held files at the last import and holds none now, so nothing was "
                          "deleted; delete its project if they are meant to be gone.");
        for (const auto& [id, entry] : known_) {
            if (seen_.contains(id)) continue;
            if (isUnreadable(entry.path))
                seen_[id] = entry;
            else if (options_.link)
                addDeletion(id, entry.recordType);
        }
    }

    void addDeletion(const std::string& id, const std::string& recordType) {
        const Snapshot& library = session_.snapshot();
        const bool isThere = recordType == "Thing" ? library.findThing(id) != nullptr
                                                   : library.findProject(id) != nullptr;
        if (!isThere) return;
        records_.push_back(deletionRecord(recordType, id));
        ++report_.deleted;
    }

    [[nodiscard]] bool isUnreadable(std::string_view path) const {
        return std::any_of(
            scan_.unreadable.begin(), scan_.unreadable.end(), [&](const std::string& at) {
                return liesUnder(path, repairedUtf8(at));
            });
    }

    void rememberAnswer() {
        for (const auto& [id, updatedAt] : sent_) {
            const ThingRecord* answered = session_.snapshot().findThing(id);
            if (answered == nullptr) continue;
            if (answered->updatedAt == updatedAt) {
                seen_[id].baseFileFingerprint = answered->fileFingerprint;
            } else {
                --report_.updated;
                ++report_.stood;
            }
        }
        memory_.replace(rootId_, std::move(seen_));
        memory_.save(session_.state().importMemoryFile());
    }

    /// A thing whose file was sent, to be found in the answer.
    struct SentThing {
        std::string id;
        std::int64_t updatedAt = 0;
    };

    Session& session_;
    const ImportOptions& options_;
    FolderScan scan_;
    std::string rootId_;
    ImportMemory memory_;
    ImportMemory::Entries known_;
    ImportMemory::Entries seen_;
    IncomingFolder incoming_;
    std::vector<std::string> tagIds_;
    JsonElements records_;
    std::vector<SentThing> sent_;
    ImportReport report_;
};

}  // namespace

ImportReport importFolder(Session& session, const ImportOptions& options) {
    return Import(session, options).run();
}

}  // namespace kelto::ctl
