#include "tools/keltoctl/ThingTexts.hpp"

#include "kelto/foundation/Text.hpp"

namespace kelto::ctl {

ThingKind kindOf(const ThingRecord& thing) {
    return thingKind(thing.kind).value_or(ThingKind::note);
}

ShownTexts shownTexts(const ThingRecord& thing) {
    return {kindOf(thing),
            thing.title,
            thing.subtitle,
            thing.content,
            thing.urlString,
            thing.fileName,
            thing.typeIdentifier};
}

std::string displayTitle(const ThingRecord& thing) {
    return shownTexts(thing).displayTitle();
}

std::string shownName(const Item& item) {
    if (item.thing != nullptr) return displayTitle(*item.thing);
    return item.project != nullptr ? item.project->name : item.tag->name;
}

std::string badgeText(const ThingRecord& thing) {
    return shownTexts(thing).badgeText();
}

std::string exportFileName(const ThingRecord& thing) {
    return shownTexts(thing).exportFileName();
}

std::string folded(std::string_view text) {
    return lowerCased(canonicalComposition(text));
}

std::string foldedSearchText(const Snapshot& snapshot, const ThingRecord& thing) {
    std::string text = thing.title;
    for (const std::string* part :
         {&thing.subtitle, &thing.content, &thing.note, &thing.urlString, &thing.fileName})
        text.append("\n").append(*part);
    for (const std::string& name : snapshot.tagNames(thing)) text.append("\n").append(name);
    if (thing.project)
        if (const ProjectRecord* project = snapshot.findProject(*thing.project))
            text.append("\n").append(project->name);
    return folded(text);
}

}  // namespace kelto::ctl
