#include "tools/keltoctl/ThingDocument.hpp"

#include <array>
#include <ctime>
#include <utility>

#include "kelto/foundation/PlatformError.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts) result.append(result.empty() ? "" : ", ").append(text);
    return result;
}

/// Lines of a name and a value; what is empty is left out.
class Lines {
public:
    void add(std::string_view name, std::string_view value) {
        constexpr std::size_t nameWidth = 13;
        if (value.empty()) return;
        text += fitted(name, nameWidth);
        // Line breaks of a note are meant to be seen as such; everything else is made safe.
        while (true) {
            const std::size_t end = value.find('\n');
            text += terminalSafe(value.substr(0, end)) + "\n";
            if (end == std::string_view::npos || end + 1 == value.size()) return;
            value.remove_prefix(end + 1);
            text.append(nameWidth, ' ');
        }
    }
    std::string text;
};

void addThing(Lines& lines, const Snapshot& snapshot, const ThingRecord& thing) {
    lines.add("Title", (thing.isStarred ? "★ " : "") + displayTitle(thing));
    lines.add("Kind", title(kindOf(thing)));
    lines.add("Subtitle", thing.subtitle);
    lines.add("Address", thing.urlString);
    lines.add("Content", thing.content);
    lines.add("Note", thing.note);
    lines.add("Tags", joined(snapshot.tagNames(thing)));
    lines.add("Project", thing.project ? snapshot.projectPath(*thing.project) : "");
    lines.add("File", thing.fileName);
    lines.add("Type", thing.typeIdentifier);
    lines.add("Size", thing.fileSize > 0 ? byteCount(thing.fileSize) : "");
    lines.add("Metadata", thing.metadataJson);
    lines.add("Data", thing.data.value_or(""));
    lines.add("Thumbnail", thing.thumbnail.value_or(""));
    lines.add("Icon", thing.icon.value_or(""));
    lines.add("Created", localTime(thing.createdAt));
    lines.add("Changed", localTime(thing.updatedAt));
    lines.add("In the trash", thing.trashedAt ? localTime(*thing.trashedAt) : "");
    lines.add("Identifier", thing.id);
    lines.add("Fingerprint", thing.fingerprint);
}

}  // namespace

std::string localTime(std::int64_t milliseconds) {
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    std::array<char, 64> text{};
    if (::localtime_r(&seconds, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts) == 0)
        return std::to_string(milliseconds) + " ms";
    return text.data();
}

JsonValue thingDocument(const Snapshot& snapshot, const ThingRecord& thing) {
    JsonValue document = toRecord(thing);
    document.setMember("fileFingerprint", thing.fileFingerprint);
    document.setMember("fingerprint", thing.fingerprint);
    document.setMember("displayTitle", displayTitle(thing));
    document.setMember("badge", badgeText(thing));
    JsonElements names;
    for (std::string& name : snapshot.tagNames(thing)) names.emplace_back(std::move(name));
    document.setMember("tagNames", std::move(names));
    if (thing.project) document.setMember("projectPath", snapshot.projectPath(*thing.project));
    try {
        document.setMember("metadata", JsonValue::parse(thing.metadataJson));
    } catch (const PlatformError&) {
        // Metadata that is no JSON is still there as text.
    }
    return document;
}

JsonValue itemDocument(const Snapshot& snapshot, const Item& item) {
    if (item.thing != nullptr) return thingDocument(snapshot, *item.thing);
    if (item.tag != nullptr) return toRecord(*item.tag);
    JsonValue document = toRecord(*item.project);
    document.setMember("path", snapshot.projectPath(item.project->id));
    return document;
}

std::string printedItem(const Snapshot& snapshot, const Item& item) {
    Lines lines;
    if (item.thing != nullptr) {
        addThing(lines, snapshot, *item.thing);
    } else if (item.project != nullptr) {
        lines.add("Project", snapshot.projectPath(item.project->id));
        lines.add("Linked to", item.project->linkedFolderOwner);
        lines.add("Created", localTime(item.project->createdAt));
        lines.add("Identifier", item.project->id);
    } else {
        lines.add("Tag", item.tag->name);
        lines.add("Created", localTime(item.tag->createdAt));
        lines.add("Identifier", item.tag->id);
    }
    return lines.text;
}

}  // namespace kelto::ctl
