#include "tools/keltoctl/TreePrinter.hpp"

#include <algorithm>
#include <map>

#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/LibraryTree.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingDocument.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

constexpr std::string_view star = "★ ";
constexpr std::size_t badgeWidthLimit = 8;
constexpr std::size_t gap = 2;
/// Where lines may be of any length, only longer titles stand out of the column.
constexpr std::size_t usualTitleEnd = 64;
/// Tags are shown only where that much of every title is left beside that much of them.
constexpr std::size_t leastTitle = 16;
constexpr std::size_t leastTags = 12;

/// A thing in columns; a project or heading in one text.
struct Row {
    std::string branch{};  ///< the lines of the tree
    std::string badge{};
    std::string title{};
    std::string size{};
    std::string id{};
    std::string tags{};
    bool isThing = false;
    bool isStarred = false;
};

Row thingRow(const Snapshot& snapshot, const ThingRecord& thing, std::string branch) {
    Row row{.branch = std::move(branch), .isThing = true, .isStarred = thing.isStarred};
    row.badge = terminalSafe(badgeText(thing));
    row.title = terminalSafe(displayTitle(thing));
    row.size = thing.fileSize > 0 ? byteCount(thing.fileSize) : "";
    row.id = terminalSafe(shortIdentifier(thing.id));
    for (const std::string& name : snapshot.tagNames(thing))
        row.tags.append(row.tags.empty() ? "#" : " #").append(terminalSafe(name));
    return row;
}

Row projectRow(const LibraryBranch& branch, std::string lines) {
    Row row{.branch = std::move(lines)};
    row.title = terminalSafe(branch.project->name) + "  (" + counted(branch.thingCount(), "thing") +
                (branch.project->linkedFolderOwner.empty() ? "" : ", linked folder") + ")";
    row.id = terminalSafe(shortIdentifier(branch.project->id));
    return row;
}

/// Where the columns of a table begin and end.
struct Columns {
    std::size_t badge = 0;     ///< width
    std::size_t titleEnd = 0;  ///< behind branch, badge and title
    std::size_t size = 0;      ///< width; 0: not shown

    /// From the end of the title to the identifier.
    [[nodiscard]] std::size_t beforeId() const { return gap + (size > 0 ? size + gap : 0); }
};

std::size_t titleBegin(const Row& row, const Columns& columns) {
    return displayWidth(row.branch) + (row.isThing ? columns.badge + gap : 0);
}

Columns columnsOf(const std::vector<Row>& rows, const Appearance& appearance) {
    Columns columns;
    std::size_t tags = 0;
    for (const Row& row : rows) {
        columns.size = std::max(columns.size, displayWidth(row.size));
        tags = std::max(tags, displayWidth(row.tags));
        if (row.isThing) columns.badge = std::max(columns.badge, displayWidth(row.badge));
    }
    columns.badge = std::min(columns.badge, badgeWidthLimit);
    std::size_t deepest = 0;
    std::size_t longest = 0;
    for (const Row& row : rows) {
        deepest = std::max(deepest, titleBegin(row, columns));
        const std::size_t end = titleBegin(row, columns) +
                                (row.isStarred ? displayWidth(star) : 0) + displayWidth(row.title);
        if (appearance.width || end <= usualTitleEnd) longest = std::max(longest, end);
    }
    columns.titleEnd = longest;
    if (!appearance.width) return columns;
    // Titles take what identifiers and sizes leave, and tags what is left by then. Where too little
    // is left of a title, the size goes first, and then the line ends within the identifier.
    const auto roomBeside = [&](std::size_t fixed) {
        return *appearance.width - std::min(*appearance.width, fixed);
    };
    const std::size_t needed = std::min(longest, deepest + leastTitle);
    if (roomBeside(gap + columns.size + gap + shortIdentifierLength) < needed) columns.size = 0;
    const std::size_t room = roomBeside(columns.beforeId() + shortIdentifierLength);
    const std::size_t wanted = tags == 0 ? 0 : gap + std::min(tags, leastTags);
    const std::size_t beside = room - std::min(room, wanted);
    columns.titleEnd =
        std::min(longest, beside >= deepest + leastTitle ? beside : std::max(room, needed));
    return columns;
}

std::string lineOf(const Row& row, const Columns& columns, const Appearance& appearance) {
    TerminalLine line(appearance);
    line.add(row.branch, Style::faint);
    if (row.isThing) line.add(cutTo(row.badge, columns.badge), Style::label);
    line.advanceTo(titleBegin(row, columns));
    if (row.isStarred) line.add(star, Style::star);
    const std::size_t room = columns.titleEnd - std::min(columns.titleEnd, line.column());
    line.add(appearance.width ? cutTo(row.title, room) : row.title,
             row.isThing ? Style::plain : Style::strong);
    const std::size_t end = std::max(line.column(), columns.titleEnd);
    if (columns.size > 0) {
        line.advanceTo(end + gap + columns.size - displayWidth(row.size));
        line.add(row.size);
    }
    line.advanceTo(end + columns.beforeId());
    line.add(row.id, Style::faint);
    line.advanceTo(line.column() + gap);
    line.add(row.tags, Style::tag);
    return line.text();
}

std::string aligned(const std::vector<Row>& rows, const Appearance& appearance) {
    const Columns columns = columnsOf(rows, appearance);
    std::string text;
    for (const Row& row : rows) text += lineOf(row, columns, appearance);
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

std::string printedTree(const Snapshot& snapshot, const Appearance& appearance) {
    TreeRows tree(snapshot);
    tree.rows.push_back({.title = "Library"});
    tree.addBranch(libraryTree(snapshot), "");
    tree.addTrash();
    return aligned(tree.rows, appearance) + "\n" + totals(snapshot);
}

std::string printedList(const Snapshot& snapshot,
                        const std::vector<const ThingRecord*>& things,
                        const Appearance& appearance) {
    std::vector<Row> rows;
    rows.reserve(things.size());
    for (const ThingRecord* thing : things) rows.push_back(thingRow(snapshot, *thing, ""));
    return aligned(rows, appearance);
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
