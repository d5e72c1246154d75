#include "tools/keltoctl/ThingDocument.hpp"

#include <utility>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/Moment.hpp"
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
    explicit Lines(const Appearance& appearance) : appearance_(appearance) {}

    void add(std::string_view name, std::string_view value) {
        if (value.empty()) return;
        // Line breaks of a note are meant to be seen as such; everything else is made safe.
        while (true) {
            const std::size_t end = value.find('\n');
            for (const std::string& line : wrappedValue(ordinaryLine(value.substr(0, end)))) {
                addLine(name, line);
                name = "";
            }
            if (end == std::string_view::npos || end + 1 == value.size()) return;
            value.remove_prefix(end + 1);
        }
    }
    std::string text;

private:
    static constexpr std::size_t nameWidth = 13;
    /// Where less is left, values are not wrapped: the terminal does it better.
    static constexpr std::size_t leastWidth = 12;

    /// What many editors write steers no terminal: tabs, and the other half of a line break.
    static std::string ordinaryLine(std::string_view line) {
        if (line.ends_with('\r')) line.remove_suffix(1);
        return replacingAll(line, "\t", "    ");
    }
    [[nodiscard]] std::vector<std::string> wrappedValue(std::string_view value) const {
        const std::string safe = terminalSafe(value);
        if (!appearance_.width || *appearance_.width < nameWidth + leastWidth) return {safe};
        return wrapped(safe, *appearance_.width - nameWidth);
    }
    void addLine(std::string_view name, const std::string& value) {
        const Appearance unlimited{.isColoured = appearance_.isColoured};
        TerminalLine line(unlimited);
        line.add(name, Style::faint);
        line.advanceTo(nameWidth);
        line.add(value);
        text += line.text();
    }

    const Appearance& appearance_;
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

void setMoment(JsonValue& document, std::string_view key, std::int64_t moment) {
    // What no calendar reaches is still there as a number.
    if (std::string text = isoTime(moment); !text.empty()) document.setMember(key, std::move(text));
}

}  // namespace

JsonValue thingDocument(const Snapshot& snapshot, const ThingRecord& thing) {
    JsonValue document = toRecord(thing);
    document.setMember("fileFingerprint", thing.fileFingerprint);
    document.setMember("fingerprint", thing.fingerprint);
    setMoment(document, "created", thing.createdAt);
    setMoment(document, "updated", thing.updatedAt);
    if (thing.trashedAt) setMoment(document, "trashed", *thing.trashedAt);
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
    if (item.tag != nullptr) {
        JsonValue document = toRecord(*item.tag);
        setMoment(document, "created", item.tag->createdAt);
        return document;
    }
    JsonValue document = toRecord(*item.project);
    setMoment(document, "created", item.project->createdAt);
    document.setMember("path", snapshot.projectPath(item.project->id));
    return document;
}

std::string printedItem(const Snapshot& snapshot, const Item& item, const Appearance& appearance) {
    Lines lines(appearance);
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
