#include "tools/keltoctl/TreePrinter.hpp"

#include <algorithm>
#include <map>

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/LibraryTree.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingDocument.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t shortIdLength = 8;
constexpr std::size_t titleWidthLimit = 48;
constexpr std::size_t badgeWidthLimit = 8;

/// A thing in columns; a project or heading in one text.
struct Row {
    std::string branch{};  ///< the lines of the tree
    std::string badge{};
    std::string title{};
    std::string size{};
    std::string id{};
    std::string tags{};
    bool isThing = false;
};

Row thingRow(const Snapshot& snapshot, const ThingRecord& thing, std::string branch) {
    Row row{.branch = std::move(branch), .isThing = true};
    row.badge = terminalSafe(badgeText(thing));
    row.title = (thing.isStarred ? "★ " : "") + terminalSafe(displayTitle(thing));
    row.size = thing.fileSize > 0 ? byteCount(thing.fileSize) : "";
    row.id = terminalSafe(thing.id.substr(0, shortIdLength));
    for (const std::string& name : snapshot.tagNames(thing))
        row.tags.append(row.tags.empty() ? "#" : " #").append(terminalSafe(name));
    return row;
}

Row projectRow(const LibraryBranch& branch, std::string lines) {
    Row row{.branch = std::move(lines)};
    row.title = terminalSafe(branch.project->name) + "  (" + counted(branch.thingCount(), "thing") +
                (branch.project->linkedFolderOwner.empty() ? "" : ", linked folder") + ")";
    row.id = terminalSafe(branch.project->id.substr(0, shortIdLength));
    return row;
}

std::string aligned(const std::vector<Row>& rows) {
    std::size_t badgeWidth = 0;
    std::size_t leftWidth = 0;
    std::size_t sizeWidth = 0;
    for (const Row& row : rows) {
        sizeWidth = std::max(sizeWidth, displayWidth(row.size));
        if (row.isThing) badgeWidth = std::max(badgeWidth, displayWidth(row.badge));
    }
    badgeWidth = std::min(badgeWidth, badgeWidthLimit);
    std::vector<std::string> left;
    for (const Row& row : rows) {
        const std::string title =
            fitted(row.title, std::min(displayWidth(row.title), titleWidthLimit));
        left.push_back(row.branch + (row.isThing ? fitted(row.badge, badgeWidth) + "  " : "") +
                       title);
        leftWidth = std::max(leftWidth, displayWidth(left.back()));
    }
    std::string text;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        const Row& row = rows[at];
        const std::string indent(sizeWidth - displayWidth(row.size), ' ');
        std::string line = fitted(left[at], leftWidth) + "  " + indent + row.size + "  " + row.id;
        if (!row.tags.empty()) line += "  " + row.tags;
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

class TreeRows {
public:
    explicit TreeRows(const Snapshot& snapshot) : snapshot_(snapshot) {}

    void addBranch(const LibraryBranch& branch, const std::string& lines) {
        std::vector<const ThingRecord*> things;
        for (const ThingRecord* thing : branch.things)
            (thing->trashedAt ? trash_ : things).push_back(thing);
        std::size_t left = branch.children.size() + things.size();
        for (const LibraryBranch& child : branch.children) {
            const bool isLast = --left == 0;
            rows.push_back(projectRow(child, lines + (isLast ? "└── " : "├── ")));
            addBranch(child, lines + (isLast ? "    " : "│   "));
        }
        addThings(things, lines);
    }

    void addTrash() {
        if (trash_.empty()) return;
        rows.push_back({.title = "Trash  (" + counted(trash_.size(), "thing") + ")"});
        addThings(trash_, "");
    }

    std::vector<Row> rows;

private:
    void addThings(const std::vector<const ThingRecord*>& things, const std::string& lines) {
        for (std::size_t at = 0; at < things.size(); ++at)
            rows.push_back(thingRow(
                snapshot_, *things[at], lines + (at + 1 == things.size() ? "└── " : "├── ")));
    }

    const Snapshot& snapshot_;
    std::vector<const ThingRecord*> trash_;
};

std::map<ThingKind, std::size_t> countsByKind(const Snapshot& snapshot) {
    std::map<ThingKind, std::size_t> counts;
    for (const ThingRecord& thing : snapshot.things()) ++counts[kindOf(thing)];
    return counts;
}

std::int64_t totalSize(const Snapshot& snapshot) {
    std::int64_t size = 0;
    for (const ThingRecord& thing : snapshot.things())
        if (thing.data) size += std::max<std::int64_t>(thing.fileSize, 0);
    return size;
}

std::string totals(const Snapshot& snapshot) {
    std::string text = counted(snapshot.projects().size(), "project") + ", " +
                       counted(snapshot.tags().size(), "tag") + ", " +
                       counted(snapshot.things().size(), "thing") + " with " +
                       byteCount(totalSize(snapshot)) + " of files\n";
    std::string kinds;
    for (const auto& [kind, count] : countsByKind(snapshot))
        kinds += (kinds.empty() ? "" : ", ") + std::to_string(count) + " " +
                 lowerCased(count == 1 ? title(kind) : pluralTitle(kind));
    return kinds.empty() ? text : text + kinds + "\n";
}

void addBranchMembers(JsonMembers& members, const LibraryBranch& branch, const Snapshot& snapshot) {
    JsonElements projects;
    for (const LibraryBranch& child : branch.children) {
        JsonMembers project{{"uuid", child.project->id},
                            {"name", child.project->name},
                            {"linkedFolderOwner", child.project->linkedFolderOwner},
                            {"thingCount", static_cast<std::int64_t>(child.thingCount())}};
        addBranchMembers(project, child, snapshot);
        projects.emplace_back(std::move(project));
    }
    JsonElements things;
    for (const ThingRecord* thing : branch.things)
        things.push_back(thingDocument(snapshot, *thing));
    members.emplace_back("projects", std::move(projects));
    members.emplace_back("things", std::move(things));
}

}  // namespace

std::string printedTree(const Snapshot& snapshot) {
    TreeRows tree(snapshot);
    tree.rows.push_back({.title = "Library"});
    tree.addBranch(libraryTree(snapshot), "");
    tree.addTrash();
    return aligned(tree.rows) + "\n" + totals(snapshot);
}

std::string printedList(const Snapshot& snapshot, const std::vector<const ThingRecord*>& things) {
    std::vector<Row> rows;
    rows.reserve(things.size());
    for (const ThingRecord* thing : things) rows.push_back(thingRow(snapshot, *thing, ""));
    return aligned(rows);
}

JsonValue treeDocument(const Snapshot& snapshot) {
    JsonMembers document;
    addBranchMembers(document, libraryTree(snapshot), snapshot);
    JsonMembers byKind;
    for (const auto& [kind, count] : countsByKind(snapshot))
        byKind.emplace_back(rawValue(kind), static_cast<std::int64_t>(count));
    document.emplace_back("totals", std::move(byKind));
    return document;
}

}  // namespace kelto::ctl
