#include "kelto/model/ShownTexts.hpp"

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

constexpr std::size_t displayTitleLength = 80;  // characters as a person counts them
constexpr std::string_view unknownExtension = "bin";

std::string untitled(std::string_view what) {
    return "Untitled " + std::string(what);
}

}  // namespace

std::string ShownTexts::fileExtension() const {
    if (const auto extension = pathExtension(fileName); !extension.empty()) {
        return std::string(extension);
    }
    const auto type = ContentType::fromIdentifier(typeIdentifier);
    return std::string(type ? type->preferredFileExtension().value_or("") : "");
}

std::string ShownTexts::displayTitle() const {
    if (!title.empty()) return std::string(title);
    switch (kind) {
        case ThingKind::image:
        case ThingKind::video:
        case ThingKind::document:
            if (!fileName.empty()) return std::string(fileName);
            break;
        case ThingKind::link:
        case ThingKind::github:
            if (!subtitle.empty()) return std::string(subtitle);
            if (!urlString.empty()) return std::string(urlString);
            // A repository without any text is no more to a person than a link.
            return untitled(kelto::title(ThingKind::link));
        case ThingKind::tweet:
        case ThingKind::quote:
        case ThingKind::note:
            if (const auto line = firstNonEmptyLine(content); !line.empty()) {
                return std::string(graphemePrefix(line, displayTitleLength));
            }
            break;
    }
    return untitled(kelto::title(kind));
}

std::string ShownTexts::badgeText() const {
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
    const std::string extension = fileExtension();
    return upperCased(extension.empty() ? kelto::title(kind) : extension);
}

std::string ShownTexts::exportFileName() const {
    if (!fileName.empty()) return std::string(fileName);
    std::string name = replacingAll(displayTitle(), "/", "-");
    const std::string extension = fileExtension();
    name += '.';
    name += extension.empty() ? unknownExtension : extension;
    return name;
}

}  // namespace kelto
