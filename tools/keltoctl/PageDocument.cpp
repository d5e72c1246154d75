#include "tools/keltoctl/PageDocument.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/model/ThingMetadata.hpp"
#include "tools/keltoctl/ConflictPairs.hpp"
#include "tools/keltoctl/LibraryTree.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

using Places = std::unordered_map<std::string, std::size_t>;

JsonValue number(std::size_t value) {
    return static_cast<std::int64_t>(value);
}

/// At most `pageTextBytes`, cut before a character, not within it.
std::string_view shortened(std::string_view text) {
    if (text.size() <= pageTextBytes) return text;
    std::size_t end = pageTextBytes;
    const auto continues = [&] { return (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U; };
    while (end > 0 && continues()) --end;
    return text.substr(0, end);
}

/// The members of one item. What is empty is left out.
class ItemMembers {
public:
    void text(const char* key, std::string_view value) {
        if (!value.empty()) members_.emplace_back(key, repairedUtf8(value));
    }
    template <typename Integer>
    void place(const char* key, const std::optional<Integer>& value) {
        if (value) members_.emplace_back(key, static_cast<std::int64_t>(*value));
    }
    void value(const char* key, JsonValue value) { members_.emplace_back(key, std::move(value)); }
    void flag(const char* key, bool isSet) {
        if (isSet) members_.emplace_back(key, true);
    }
    [[nodiscard]] JsonMembers take() { return std::move(members_); }

private:
    JsonMembers members_;
};

void addMetadata(ItemMembers& members, const ThingRecord& thing) {
    const ThingMetadata metadata = ThingMetadata::fromJson(thing.metadataJson);
    members.text("author", metadata.author.value_or(""));
    members.text("handle", metadata.authorHandle.value_or(""));
    members.text("site", metadata.siteName.value_or(""));
    members.place("stars", metadata.stars);
    members.place("forks", metadata.forks);
    members.text("language", metadata.language.value_or(""));
    members.text("homepage", metadata.homepage.value_or(""));
    members.place("width", metadata.width);
    members.place("height", metadata.height);
}

const char* nameOfLack(PictureLack lack) {
    switch (lack) {
        case PictureLack::tooLarge:
            return "large";
        case PictureLack::noPicture:
            return "unshown";
        case PictureLack::notWanted:
            break;
    }
    return "unwanted";
}

class PageList {
public:
    PageList(const Snapshot& snapshot, PagePictures& pictures, PageReport& report)
        : snapshot_(snapshot), pictures_(pictures), report_(report) {
        addBranch(libraryTree(snapshot));
        for (std::size_t at = 0; at < snapshot.tags().size(); ++at)
            tagPlaces_[snapshot.tags()[at].id] = at;
        for (std::size_t at = 0; at < things_.size(); ++at) thingPlaces_[things_[at]->id] = at;
        originals_ = originalsOfConflictCopies(snapshot);
        choosePictures();
    }

    JsonElements takeProjects() { return std::move(projects_); }

    [[nodiscard]] JsonElements tags() const {
        JsonElements names;
        for (const TagRecord& tag : snapshot_.tags()) names.emplace_back(repairedUtf8(tag.name));
        return names;
    }

    [[nodiscard]] JsonElements items() {
        JsonElements items;
        items.reserve(things_.size());
        for (std::size_t at = 0; at < things_.size(); ++at)
            items.emplace_back(item(*things_[at], shown_[at]));
        return items;
    }

private:
    void addBranch(const LibraryBranch& branch) {
        things_.insert(things_.end(), branch.things.begin(), branch.things.end());
        for (const LibraryBranch& child : branch.children) {
            const ProjectRecord& project = *child.project;
            ItemMembers members;
            members.text("name", project.name);
            if (branch.project != nullptr)
                members.value("parent", number(projectPlaces_.at(branch.project->id)));
            members.flag("linked", !project.linkedFolderOwner.empty());
            projectPlaces_[project.id] = projects_.size();
            projects_.emplace_back(members.take());
            addBranch(child);
        }
    }

    /// Where there is no room for all, those that were changed last are shown.
    void choosePictures() {
        shown_.resize(things_.size());
        std::vector<std::size_t> order(things_.size());
        for (std::size_t at = 0; at < order.size(); ++at) order[at] = at;
        std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
            return things_[left]->updatedAt > things_[right]->updatedAt;
        });
        for (const std::size_t at : order) shown_[at] = pictures_.choose(*things_[at]);
    }

    JsonMembers item(const ThingRecord& thing, const PagePictures::Shown& shown) {
        count(thing, shown);
        ItemMembers members;
        members.text("id", thing.id);
        members.text("kind", rawValue(kindOf(thing)));
        members.text("badge", badgeText(thing));
        members.text("title", displayTitle(thing));
        members.text("subtitle", thing.subtitle);
        members.text("content", shortened(thing.content));
        members.text("note", shortened(thing.note));
        members.flag("cut", isShortened(thing));
        members.text("url", thing.urlString);
        members.text("file", thing.fileName);
        members.text("type", thing.typeIdentifier);
        if (thing.fileSize > 0) members.value("size", thing.fileSize);
        members.flag("starred", thing.isStarred);
        members.value("created", thing.createdAt);
        members.value("updated", thing.updatedAt);
        members.place("trashed", thing.trashedAt);
        addMetadata(members, thing);
        addRelations(members, thing);
        members.place("picture", shown.picture);
        members.place("icon", shown.icon);
        if (shown.lack) members.text("lack", nameOfLack(*shown.lack));
        return members.take();
    }

    void addRelations(ItemMembers& members, const ThingRecord& thing) const {
        JsonElements tags;
        for (const std::string& id : thing.tags)
            if (const auto place = tagPlaces_.find(id); place != tagPlaces_.end())
                tags.emplace_back(number(place->second));
        if (!tags.empty()) members.value("tags", std::move(tags));
        if (thing.project)
            if (const auto place = projectPlaces_.find(*thing.project);
                place != projectPlaces_.end())
                members.value("project", number(place->second));
        members.flag("copy", isConflictCopy(thing));
        if (const auto original = originals_.find(thing.id); original != originals_.end())
            members.value("original", number(thingPlaces_.at(original->second->id)));
    }

    static bool isShortened(const ThingRecord& thing) {
        return std::max(thing.content.size(), thing.note.size()) > pageTextBytes;
    }

    void count(const ThingRecord& thing, const PagePictures::Shown& shown) {
        ++report_.items;
        if (thing.trashedAt) ++report_.inTrash;
        if (isConflictCopy(thing)) ++report_.conflictCopies;
        if (isShortened(thing)) ++report_.shortenedTexts;
        if (shown.picture) ++report_.pictures;
        if (shown.lack == PictureLack::tooLarge) ++report_.tooLargePictures;
        if (shown.lack == PictureLack::noPicture) ++report_.unshownPictures;
        if (shown.lack == PictureLack::notWanted) ++report_.unwantedPictures;
    }

    const Snapshot& snapshot_;
    PagePictures& pictures_;
    PageReport& report_;
    JsonElements projects_;
    Places projectPlaces_;
    Places tagPlaces_;
    Places thingPlaces_;
    std::vector<const ThingRecord*> things_;
    std::vector<PagePictures::Shown> shown_;
    std::unordered_map<std::string, const ThingRecord*> originals_;
};

JsonMembers kinds() {
    JsonMembers titles;
    for (const ThingKind kind : allThingKinds)
        titles.emplace_back(rawValue(kind),
                            JsonMembers{{"title", title(kind)}, {"titles", pluralTitle(kind)}});
    return titles;
}

}  // namespace

std::string pageDocument(const Snapshot& snapshot,
                         std::int64_t nowMilliseconds,
                         PagePictures& pictures,
                         PageReport& report) {
    PageList list(snapshot, pictures, report);
    JsonMembers document;
    document.emplace_back("written", nowMilliseconds);
    document.emplace_back("kinds", kinds());
    document.emplace_back("projects", list.takeProjects());
    document.emplace_back("tags", list.tags());
    document.emplace_back("items", list.items());
    return JsonValue(std::move(document)).text();
}

}  // namespace kelto::ctl
