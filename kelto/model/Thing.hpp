#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/ContentType.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Url.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/model/ShownTexts.hpp"
#include "kelto/model/ThingKind.hpp"
#include "kelto/model/ThingMetadata.hpp"
#include "kelto/persistence/ModelObject.hpp"

namespace kelto {

class Project;
class Tag;

/// One saved item of the library. Texts are UTF-8. Setters of fields touch nothing but their field;
/// operations that stand for something the user does (touch, addTag, …) keep updatedAt current.
class Thing final : public ModelObject {
public:
    [[nodiscard]] static const EntityDescription& description();

    /// A new item: a random uuid, the kind's aspect ratio, created and updated now.
    Thing(ObjectEnvironment& environment, ThingKind kind, std::string_view title);

    [[nodiscard]] const Uuid& uuid() const { return uuid_; }
    [[nodiscard]] const std::string& kindRaw() const { return kindRaw_; }
    [[nodiscard]] const std::string& title() const { return title_; }
    [[nodiscard]] const std::string& subtitle() const { return subtitle_; }
    [[nodiscard]] const std::string& content() const { return content_; }
    [[nodiscard]] const std::string& note() const { return note_; }
    [[nodiscard]] const std::string& urlString() const { return urlString_; }
    [[nodiscard]] const std::string& fileName() const { return fileName_; }
    [[nodiscard]] const std::string& typeIdentifier() const { return typeIdentifier_; }
    [[nodiscard]] std::int64_t fileSize() const { return fileSize_; }  ///< Bytes, as the host says.
    [[nodiscard]] std::optional<Payload> data() const { return data_.value(); }
    [[nodiscard]] std::optional<Payload> thumbnailData() const { return thumbnailData_.value(); }
    [[nodiscard]] std::optional<Payload> iconData() const { return iconData_.value(); }
    [[nodiscard]] double aspectRatio() const { return aspectRatio_; }  ///< Width divided by height.
    [[nodiscard]] bool isStarred() const { return isStarred_; }
    [[nodiscard]] const std::optional<Date>& trashedAt() const { return trashedAt_; }
    [[nodiscard]] const Date& createdAt() const { return createdAt_; }
    [[nodiscard]] const Date& updatedAt() const { return updatedAt_; }
    [[nodiscard]] const std::string& metadataJSON() const { return metadataJSON_; }
    [[nodiscard]] const std::vector<Tag*>& tags() const { return tags_; }  ///< In stored order.
    [[nodiscard]] Project* project() const { return project_; }            ///< nullptr: none.

    void setUuid(const Uuid& value) { assign(uuid_, value); }
    void setKindRaw(std::string_view value) { assign(kindRaw_, value); }
    void setTitle(std::string_view value) { assign(title_, value); }
    void setSubtitle(std::string_view value) { assign(subtitle_, value); }
    void setContent(std::string_view value) { assign(content_, value); }
    void setNote(std::string_view value) { assign(note_, value); }
    void setUrlString(std::string_view value) { assign(urlString_, value); }
    void setFileName(std::string_view value) { assign(fileName_, value); }
    void setTypeIdentifier(std::string_view value) { assign(typeIdentifier_, value); }
    void setFileSize(std::int64_t value) { assign(fileSize_, value); }
    void setData(const std::optional<Payload>& value) { assignPayload(data_, value); }
    void setThumbnailData(const std::optional<Payload>& value) {
        assignPayload(thumbnailData_, value);
    }
    void setIconData(const std::optional<Payload>& value) { assignPayload(iconData_, value); }
    void setAspectRatio(double value) { assign(aspectRatio_, value); }
    void setIsStarred(bool value) { assign(isStarred_, value); }
    void setTrashedAt(const std::optional<Date>& value) { assign(trashedAt_, value); }
    void setCreatedAt(const Date& value) { assign(createdAt_, value); }
    void setUpdatedAt(const Date& value) { assign(updatedAt_, value); }
    void setMetadataJSON(std::string_view value) { assign(metadataJSON_, value); }
    /// The list in that order, without nullptr; a tag named twice is attached once, where it stands
    /// first.
    void setTags(const std::vector<Tag*>& value);
    void setProject(Project* value);

    [[nodiscard]] ThingKind kind() const;  ///< An unknown raw value reads as note.
    void setKind(ThingKind kind) { setKindRaw(rawValue(kind)); }
    [[nodiscard]] std::optional<Url> url() const;
    [[nodiscard]] std::optional<ContentType> contentType() const;
    /// The extension of the file name, else the preferred one of the content type, else "".
    [[nodiscard]] std::string fileExtension() const;
    [[nodiscard]] bool isTrashed() const { return trashedAt_.has_value(); }
    [[nodiscard]] bool hasThumbnail() const { return thumbnailData_.has_value(); }
    /// The tags by name (current locale, letter case aside); equal names keep their stored order.
    [[nodiscard]] std::vector<Tag*> tagList() const;
    [[nodiscard]] std::string displayTitle() const;    ///< What a person sees as the item's name.
    [[nodiscard]] std::string badgeText() const;       ///< A short upper-case label for the tile.
    [[nodiscard]] std::string exportFileName() const;  ///< The name its file is written out under.
    [[nodiscard]] std::string searchableText() const;  ///< What searching matches against.

    [[nodiscard]] ThingMetadata metadata() const { return ThingMetadata::fromJson(metadataJSON_); }
    /// Replaces the whole metadata text: members that ThingMetadata does not know are dropped.
    void setMetadata(const ThingMetadata& metadata) { setMetadataJSON(metadata.json()); }

    void touch();  ///< Updated now.
    /// Attaches a tag at the end of the list; one that is attached already changes nothing at all.
    void addTag(Tag& tag);
    /// Detaches a tag; the item counts as updated even when it did not carry it.
    void removeTag(Tag& tag);
    void moveToTrash();
    void restore();

private:
    [[nodiscard]] ShownTexts shownTexts() const;
    friend class Tag;

    /// A blank item for a row that is being read: asks neither the clock nor for a random uuid.
    Thing(ObjectEnvironment& environment, std::int64_t row)
        : ModelObject(description(), environment, row) {}

    [[nodiscard]] static std::vector<AttributeDescription> attributes();
    [[nodiscard]] static RelationshipDescription tagsRelationship();
    [[nodiscard]] static RelationshipDescription projectRelationship();
    /// What setTags() does for a list without this tag, at the cost of this one tag.
    void detachTag(Tag& tag);

    Uuid uuid_;
    std::string kindRaw_{rawValue(ThingKind::note)};
    std::string title_;
    std::string subtitle_;
    std::string content_;
    std::string note_;
    std::string urlString_;
    std::string fileName_;
    std::string typeIdentifier_;
    std::int64_t fileSize_ = 0;
    HeldPayload data_;
    HeldPayload thumbnailData_;
    HeldPayload iconData_;
    double aspectRatio_ = 1.0;
    bool isStarred_ = false;
    std::optional<Date> trashedAt_;
    Date createdAt_;
    Date updatedAt_;
    std::string metadataJSON_;
    std::vector<Tag*> tags_;
    Project* project_ = nullptr;
};

}  // namespace kelto
