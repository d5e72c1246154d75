#include "kelto/model/Thing.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_set>

#include "kelto/foundation/Text.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/persistence/AttributeOf.hpp"

namespace kelto {

const EntityDescription& Thing::description() {
    // Never destroyed: see librarySchema().
    static const EntityDescription& entity = *new EntityDescription{
        .name = "Thing",
        .attributes = attributes(),
        .relationships = {projectRelationship(), tagsRelationship()},
        .make =
            [](ObjectEnvironment& environment, std::int64_t row) {
                return std::unique_ptr<ModelObject>(new Thing(environment, row));
            },
        .keepsDigests = true};
    return entity;
}

std::vector<AttributeDescription> Thing::attributes() {
    return {attributeOf<&Thing::uuid_>("uuid"),
            attributeOf<&Thing::kindRaw_>("kindRaw"),
            attributeOf<&Thing::title_>("title"),
            attributeOf<&Thing::subtitle_>("subtitle"),
            attributeOf<&Thing::content_>("content"),
            attributeOf<&Thing::note_>("note"),
            attributeOf<&Thing::urlString_>("urlString"),
            attributeOf<&Thing::fileName_>("fileName"),
            attributeOf<&Thing::typeIdentifier_>("typeIdentifier"),
            attributeOf<&Thing::fileSize_>("fileSize"),
            attributeOf<&Thing::data_>("data"),
            attributeOf<&Thing::thumbnailData_>("thumbnailData"),
            attributeOf<&Thing::iconData_>("iconData"),
            attributeOf<&Thing::aspectRatio_>("aspectRatio"),
            attributeOf<&Thing::isStarred_>("isStarred"),
            attributeOf<&Thing::trashedAt_>("trashedAt"),
            attributeOf<&Thing::createdAt_>("createdAt"),
            attributeOf<&Thing::updatedAt_>("updatedAt"),
            attributeOf<&Thing::metadataJSON_>("metadataJSON")};
}

RelationshipDescription Thing::tagsRelationship() {
    return {.name = "tags",
            .destination = "Tag",
            .inverse = "things",
            .storage = RelationshipStorage::listColumn,
            .deleteRule = DeleteRule::nullify,
            .related =
                [](const ModelObject& thing) {
                    const auto& tags = static_cast<const Thing&>(thing).tags_;
                    return std::vector<ModelObject*>(tags.begin(), tags.end());
                },
            .linkLoaded =
                [](ModelObject& object, ModelObject& other) {
                    auto& thing = static_cast<Thing&>(object);
                    auto& tag = static_cast<Tag&>(other);
                    // A damaged store may name a tag twice; in memory it stands once, like in
                    // setTags(), or a second entry would outlive the tag.
                    const std::size_t before = tag.things_.size();
                    tag.things_.add(thing);
                    if (tag.things_.size() != before) thing.tags_.push_back(&tag);
                },
            .unlinkLoaded =
                [](ModelObject& object) {
                    auto& thing = static_cast<Thing&>(object);
                    for (Tag* tag : thing.tags_) tag->things_.remove(thing);
                    thing.tags_.clear();
                },
            .unlink =
                [](ModelObject& thing, ModelObject& tag) {
                    static_cast<Thing&>(thing).detachTag(static_cast<Tag&>(tag));
                }};
}

RelationshipDescription Thing::projectRelationship() {
    return {.name = "project",
            .destination = "Project",
            .inverse = "things",
            .storage = RelationshipStorage::column,
            .deleteRule = DeleteRule::nullify,
            .related =
                [](const ModelObject& thing) {
                    Project* const project = static_cast<const Thing&>(thing).project_;
                    return project == nullptr ? std::vector<ModelObject*>()
                                              : std::vector<ModelObject*>{project};
                },
            .linkLoaded =
                [](ModelObject& object, ModelObject& other) {
                    auto& thing = static_cast<Thing&>(object);
                    auto& project = static_cast<Project&>(other);
                    thing.project_ = &project;
                    project.things_.add(thing);
                },
            .unlinkLoaded =
                [](ModelObject& object) {
                    auto& thing = static_cast<Thing&>(object);
                    if (thing.project_ != nullptr) thing.project_->things_.remove(thing);
                    thing.project_ = nullptr;
                },
            .unlink =
                [](ModelObject& object, ModelObject& project) {
                    auto& thing = static_cast<Thing&>(object);
                    if (thing.project_ == &project) thing.setProject(nullptr);
                }};
}

Thing::Thing(ObjectEnvironment& environment, ThingKind kind, std::string_view title)
    : Thing(environment, environment.takeRow(description())) {
    uuid_ = environment.randomUuid();
    kindRaw_ = rawValue(kind);
    title_ = title;
    aspectRatio_ = defaultAspectRatio(kind);
    createdAt_ = environment.now();
    updatedAt_ = environment.now();
}

void Thing::setTags(const std::vector<Tag*>& value) {
    // By far the most frequent case when a host sends what is stored: nothing to allocate.
    if (value == tags_) return;
    std::vector<Tag*> tags;
    std::unordered_set<const Tag*> wanted;
    tags.reserve(value.size());
    for (Tag* tag : value) {
        if (wanted.insert(tag).second) tags.push_back(tag);
    }
    if (tags == tags_) return;
    for (Tag* tag : tags_) {
        if (!wanted.contains(tag)) tag->things_.remove(*this);
    }
    for (Tag* tag : tags) tag->things_.add(*this);
    tags_ = std::move(tags);
    noteChangedRow();
}

void Thing::detachTag(Tag& tag) {
    const auto place = std::find(tags_.begin(), tags_.end(), &tag);
    if (place == tags_.end()) return;
    tags_.erase(place);
    tag.things_.remove(*this);
    noteChangedRow();
}

void Thing::setProject(Project* value) {
    if (project_ == value) return;
    if (project_ != nullptr) project_->things_.remove(*this);
    project_ = value;
    if (project_ != nullptr) project_->things_.add(*this);
    noteChangedRow();
}

ThingKind Thing::kind() const {
    return thingKind(kindRaw_).value_or(ThingKind::note);
}

std::optional<Url> Thing::url() const {
    return Url::parse(urlString_);
}

std::optional<ContentType> Thing::contentType() const {
    return ContentType::fromIdentifier(typeIdentifier_);
}

std::string Thing::fileExtension() const {
    return shownTexts().fileExtension();
}

std::vector<Tag*> Thing::tagList() const {
    std::vector<Tag*> sorted = tags_;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Tag* left, const Tag* right) {
        return orderedBeforeCaseInsensitively(left->name(), right->name());
    });
    return sorted;
}

std::string Thing::displayTitle() const {
    return shownTexts().displayTitle();
}

std::string Thing::badgeText() const {
    return shownTexts().badgeText();
}

std::string Thing::exportFileName() const {
    return shownTexts().exportFileName();
}

ShownTexts Thing::shownTexts() const {
    return {kind(), title_, subtitle_, content_, urlString_, fileName_, typeIdentifier_};
}

std::string Thing::searchableText() const {
    std::string text = title_;
    const auto append = [&text](std::string_view line) {
        text += '\n';
        text += line;
    };
    for (const std::string* field : {&subtitle_, &content_, &note_, &urlString_, &fileName_}) {
        append(*field);
    }
    for (const Tag* tag : tagList()) append(tag->name());
    if (project_ != nullptr) append(project_->name());
    return text;
}

void Thing::touch() {
    setUpdatedAt(environment().now());
}

void Thing::addTag(Tag& tag) {
    if (std::find(tags_.begin(), tags_.end(), &tag) != tags_.end()) return;
    std::vector<Tag*> extended = tags_;
    extended.push_back(&tag);
    setTags(extended);
    touch();
}

void Thing::removeTag(Tag& tag) {
    detachTag(tag);
    touch();
}

void Thing::moveToTrash() {
    setTrashedAt(environment().now());
    touch();
}

void Thing::restore() {
    setTrashedAt(std::nullopt);
    touch();
}

}  // namespace kelto
