#include "tools/keltoctl/ThingTexts.hpp"

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto::ctl {

namespace {

constexpr std::size_t titlePrefixLength = 80;

std::string untitled(ThingKind kind) {
    return "Untitled " + std::string(title(kind));
}

}  // namespace

ThingKind kindOf(const ThingRecord& thing) {
    return thingKind(thing.kind).value_or(ThingKind::note);
}

std::string fileExtension(const ThingRecord& thing) {
    if (const auto extension = pathExtension(thing.fileName); !extension.empty())
        return std::string(extension);
    const auto type = ContentType::fromIdentifier(thing.typeIdentifier);
    return type ? std::string(type->preferredFileExtension().value_or("")) : "";
}

std::string displayTitle(const ThingRecord& thing) {
    if (!thing.title.empty()) return thing.title;
    const ThingKind kind = kindOf(thing);
    if (isFileBacked(kind)) return thing.fileName.empty() ? untitled(kind) : thing.fileName;
    if (kind == ThingKind::link || kind == ThingKind::github) {
        if (!thing.subtitle.empty()) return thing.subtitle;
        return thing.urlString.empty() ? "Untitled Link" : thing.urlString;
    }
    const std::string_view line = firstNonEmptyLine(thing.content);
    return line.empty() ? untitled(kind) : std::string(graphemePrefix(line, titlePrefixLength));
}

std::string badgeText(const ThingRecord& thing) {
    const ThingKind kind = kindOf(thing);
    switch (kind) {
        case ThingKind::link:
            return "URL";
        case ThingKind::tweet:
            return "TWEET";
        case ThingKind::github:
            return "REPO";
        case ThingKind::quote:
            return "QUOTE";
        case ThingKind::note:
            return "NOTE";
        case ThingKind::image:
        case ThingKind::video:
        case ThingKind::document:
            break;
    }
    const std::string extension = fileExtension(thing);
    return upperCased(extension.empty() ? title(kind) : std::string_view(extension));
}

std::string exportFileName(const ThingRecord& thing) {
    if (!thing.fileName.empty()) return thing.fileName;
    std::string extension = fileExtension(thing);
    if (extension.empty()) extension = "bin";
    return replacingAll(displayTitle(thing), "/", "-") + "." + extension;
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
