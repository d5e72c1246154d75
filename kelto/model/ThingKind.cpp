#include "kelto/model/ThingKind.hpp"

#include <algorithm>
#include <cstddef>
#include <string>

#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

enum class Backing : std::uint8_t { none, file, link };

struct Traits {
    std::string_view rawValue;
    std::string_view title;
    std::string_view pluralTitle;
    std::string_view systemImage;
    double defaultAspectRatio;
    Backing backing;
};

// In the order of the enumeration.
constexpr std::array<Traits, allThingKinds.size()> traitsOfKinds{{
    {"image", "Image", "Images", "photo", 1.0, Backing::file},
    {"video", "Video", "Videos", "play.rectangle", 16.0 / 9.0, Backing::file},
    {"link", "Link", "Links", "link", 1.6, Backing::link},
    {"tweet", "Tweet", "Tweets", "text.bubble", 1.6, Backing::link},
    {"github",
     "Repository",
     "Repositories",
     "chevron.left.forwardslash.chevron.right",
     1.6,
     Backing::link},
    {"quote", "Quote", "Quotes", "quote.opening", 1.0, Backing::none},
    {"document", "Document", "Documents", "doc", 0.77, Backing::file},
    {"note", "Note", "Notes", "note.text", 1.0, Backing::none},
}};

const Traits& traits(ThingKind kind) {
    return traitsOfKinds[static_cast<std::size_t>(kind)];
}

/// The hosts whose addresses may have a kind of their own, in lower case and without "www.".
constexpr struct {
    std::array<std::string_view, 3> socialNetwork{"twitter.com", "x.com", "mobile.twitter.com"};
    std::string_view codeHosting = "github.com";
} knownHosts;

constexpr std::string_view postMarker = "status";  // a component of every post's address
constexpr std::size_t repositoryComponents = 2;    // owner and name

}  // namespace

std::string_view rawValue(ThingKind kind) {
    return traits(kind).rawValue;
}

std::optional<ThingKind> thingKind(std::string_view rawValue) {
    for (const ThingKind kind : allThingKinds) {
        if (traits(kind).rawValue == rawValue) return kind;
    }
    return std::nullopt;
}

std::string_view title(ThingKind kind) {
    return traits(kind).title;
}

std::string_view pluralTitle(ThingKind kind) {
    return traits(kind).pluralTitle;
}

std::string_view systemImage(ThingKind kind) {
    return traits(kind).systemImage;
}

double defaultAspectRatio(ThingKind kind) {
    return traits(kind).defaultAspectRatio;
}

bool isFileBacked(ThingKind kind) {
    return traits(kind).backing == Backing::file;
}

bool isLinkBacked(ThingKind kind) {
    return traits(kind).backing == Backing::link;
}

ThingKind classify(const Url& url) {
    // Every "www." goes, not only a leading one: "mobile.www.twitter.com" is the same site.
    const std::string host = replacingAll(lowerCased(url.host().value_or("")), "www.", "");
    std::vector<std::string> components = url.pathComponents();
    std::erase(components, "/");
    const auto isHost = [&host](std::string_view known) { return host == known; };
    if (std::any_of(knownHosts.socialNetwork.begin(), knownHosts.socialNetwork.end(), isHost)) {
        const bool isPost =
            std::find(components.begin(), components.end(), postMarker) != components.end();
        return isPost ? ThingKind::tweet : ThingKind::link;
    }
    const bool isRepository =
        isHost(knownHosts.codeHosting) && components.size() >= repositoryComponents;
    return isRepository ? ThingKind::github : ThingKind::link;
}

ThingKind classify(const ContentType& type) {
    if (type.conformsTo(ContentType::image)) return ThingKind::image;
    const bool isVideo = type.conformsTo(ContentType::movie) ||
                         type.conformsTo(ContentType::video) ||
                         type.conformsTo(ContentType::audiovisualContent);
    return isVideo ? ThingKind::video : ThingKind::document;
}

}  // namespace kelto
