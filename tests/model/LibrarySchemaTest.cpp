#include <map>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/model/LibrarySchema.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;

std::string_view nameOf(AttributeType type) {
    switch (type) {
        case AttributeType::uuid:
            return "uuid";
        case AttributeType::text:
            return "text";
        case AttributeType::integer:
            return "integer";
        case AttributeType::real:
            return "real";
        case AttributeType::boolean:
            return "boolean";
        case AttributeType::date:
            return "date";
        case AttributeType::payload:
            return "payload";
    }
    return "?";
}

std::string_view nameOf(RelationshipStorage storage) {
    switch (storage) {
        case RelationshipStorage::column:
            return "column";
        case RelationshipStorage::listColumn:
            return "list column";
        case RelationshipStorage::inverse:
            return "inverse";
    }
    return "?";
}

/// Each attribute in one line, so that a difference can be read.
std::vector<std::string> attributesOf(std::string_view entity) {
    std::vector<std::string> lines;
    for (const auto& attribute : librarySchema().entity(entity).attributes) {
        std::string line(attribute.name);
        line += attribute.isOptional ? ": optional " : ": ";
        line += nameOf(attribute.type);
        if (attribute.storage == AttributeStorage::external) line += ", external";
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> relationshipsOf(std::string_view entity) {
    std::vector<std::string> lines;
    for (const auto& relationship : librarySchema().entity(entity).relationships) {
        std::string line(relationship.name);
        line += " -> " + std::string(relationship.destination);
        line += "." + std::string(relationship.inverse);
        line += ", " + std::string(nameOf(relationship.storage));
        line += relationship.deleteRule == DeleteRule::cascade ? ", cascade" : ", nullify";
        lines.push_back(line);
    }
    return lines;
}

TEST(LibrarySchema, HasThreeEntities) {
    EXPECT_THAT(librarySchema().entities,
                ElementsAre(&Project::description(), &Tag::description(), &Thing::description()));
    EXPECT_EQ(Project::description().name, "Project");
    EXPECT_EQ(Tag::description().name, "Tag");
    EXPECT_EQ(Thing::description().name, "Thing");
}

TEST(LibrarySchema, DeclaresTheAttributesOfAProject) {
    EXPECT_THAT(attributesOf("Project"),
                ElementsAre("uuid: uuid",
                            "name: text",
                            "sortOrder: integer",
                            "linkedFolderOwner: text",
                            "createdAt: date"));
}

TEST(LibrarySchema, DeclaresTheAttributesOfATag) {
    EXPECT_THAT(attributesOf("Tag"), ElementsAre("uuid: uuid", "name: text", "createdAt: date"));
}

TEST(LibrarySchema, DeclaresTheAttributesOfAThing) {
    EXPECT_THAT(attributesOf("Thing"),
                ElementsAre("uuid: uuid",
                            "kindRaw: text",
                            "title: text",
                            "subtitle: text",
                            "content: text",
                            "note: text",
                            "urlString: text",
                            "fileName: text",
                            "typeIdentifier: text",
                            "fileSize: integer",
                            "data: optional payload, external",
                            "thumbnailData: optional payload, external",
                            "iconData: optional payload, external",
                            "aspectRatio: real",
                            "isStarred: boolean",
                            "trashedAt: optional date",
                            "createdAt: date",
                            "updatedAt: date",
                            "metadataJSON: text"));
}

TEST(LibrarySchema, DeclaresTheRelationshipsWithTheirDeleteRules) {
    EXPECT_THAT(relationshipsOf("Project"),
                ElementsAre("parent -> Project.children, column, nullify",
                            "children -> Project.parent, inverse, cascade",
                            "things -> Thing.project, inverse, nullify"));
    EXPECT_THAT(relationshipsOf("Tag"), ElementsAre("things -> Thing.tags, inverse, nullify"));
    EXPECT_THAT(relationshipsOf("Thing"),
                ElementsAre("project -> Project.things, column, nullify",
                            "tags -> Tag.things, list column, nullify"));
}

TEST(LibrarySchema, StoresEveryRelationshipOnOneOfItsTwoSides) {
    for (const EntityDescription* entity : librarySchema().entities) {
        for (const auto& relationship : entity->relationships) {
            const auto& others = librarySchema().entity(relationship.destination).relationships;
            const auto inverse =
                std::find_if(others.begin(), others.end(), [&](const auto& candidate) {
                    return candidate.name == relationship.inverse;
                });
            ASSERT_NE(inverse, others.end()) << relationship.name;
            EXPECT_EQ(inverse->inverse, relationship.name);
            EXPECT_EQ(inverse->destination, entity->name);
            const bool storedHere = relationship.storage != RelationshipStorage::inverse;
            const bool storedThere = inverse->storage != RelationshipStorage::inverse;
            EXPECT_NE(storedHere, storedThere) << relationship.name;
            EXPECT_EQ(relationship.linkLoaded != nullptr, storedHere) << relationship.name;
        }
    }
}

/// One row in memory, written and read like one of a store.
class MemoryRow final : public RowWriter, public RowReader {
public:
    void null(int column) override { values_[column] = std::monostate(); }
    void integer(int column, std::int64_t value) override { values_[column] = value; }
    void real(int column, double value) override { values_[column] = value; }
    void text(int column, std::string_view value) override { values_[column] = std::string(value); }
    void blob(int column, Bytes value) override {
        values_[column] = std::vector<std::byte>(value.begin(), value.end());
    }

    bool isNull(int column) override {
        return std::holds_alternative<std::monostate>(values_.at(column));
    }
    std::int64_t integer(int column) override { return std::get<std::int64_t>(values_.at(column)); }
    double real(int column) override { return std::get<double>(values_.at(column)); }
    std::string_view text(int column) override { return std::get<std::string>(values_.at(column)); }
    Bytes blob(int column) override { return std::get<std::vector<std::byte>>(values_.at(column)); }

private:
    using Value =
        std::variant<std::monostate, std::int64_t, double, std::string, std::vector<std::byte>>;
    std::map<int, Value> values_;
};

/// What the store does to an object between two runs of the program.
void copyThroughARow(const ModelObject& from, ModelObject& to) {
    MemoryRow row;
    int column = 0;
    for (const auto& attribute : from.entity().attributes) attribute.write(from, row, column++);
    column = 0;
    for (const auto& attribute : to.entity().attributes) attribute.read(to, row, column++);
}

Payload payload(std::uint8_t byte) {
    Payload made;
    made.digest.bytes.fill(byte);
    return made;
}

Thing& fullThing(ModelWorld& world) {
    Thing& thing = world.thing(ThingKind::github, "title");
    thing.setSubtitle("subtitle");
    thing.setContent("content");
    thing.setNote("note");
    thing.setUrlString("urlString");
    thing.setFileName("fileName");
    thing.setTypeIdentifier("typeIdentifier");
    thing.setFileSize(-9);
    thing.setData(payload(1));
    thing.setThumbnailData(payload(2));
    thing.setIconData(payload(3));
    thing.setAspectRatio(0.1);
    thing.setIsStarred(true);
    thing.setTrashedAt(Date{-1.5});
    thing.setMetadataJSON("metadataJSON");
    return thing;
}

TEST(LibrarySchema, BringsEveryFieldOfAThingBackFromItsRow) {
    ModelWorld world;
    const Thing& thing = fullThing(world);
    Thing& read = world.blank<Thing>(7);
    copyThroughARow(thing, read);
    EXPECT_EQ(read.uuid(), thing.uuid());
    EXPECT_EQ(read.kindRaw(), "github");
    EXPECT_EQ(read.title(), "title");
    EXPECT_EQ(read.subtitle(), "subtitle");
    EXPECT_EQ(read.content(), "content");
    EXPECT_EQ(read.note(), "note");
    EXPECT_EQ(read.urlString(), "urlString");
    EXPECT_EQ(read.fileName(), "fileName");
    EXPECT_EQ(read.typeIdentifier(), "typeIdentifier");
    EXPECT_EQ(read.fileSize(), -9);
    EXPECT_EQ(read.data(), payload(1));
    EXPECT_EQ(read.thumbnailData(), payload(2));
    EXPECT_EQ(read.iconData(), payload(3));
    EXPECT_EQ(read.aspectRatio(), 0.1);
    EXPECT_TRUE(read.isStarred());
    EXPECT_EQ(read.trashedAt(), Date{-1.5});
    EXPECT_EQ(read.createdAt(), Date{1});
    EXPECT_EQ(read.updatedAt(), Date{2});
    EXPECT_EQ(read.metadataJSON(), "metadataJSON");
    EXPECT_FALSE(hasChanges(read));
}

TEST(LibrarySchema, BringsAbsentFieldsBackAsAbsent) {
    ModelWorld world;
    Thing& read = fullThing(world);
    copyThroughARow(world.thing(), read);
    EXPECT_EQ(read.data(), std::nullopt);
    EXPECT_EQ(read.thumbnailData(), std::nullopt);
    EXPECT_EQ(read.iconData(), std::nullopt);
    EXPECT_EQ(read.trashedAt(), std::nullopt);
    EXPECT_EQ(read.title(), "");
    EXPECT_FALSE(read.isStarred());
}

TEST(LibrarySchema, BringsEveryFieldOfAProjectBackFromItsRow) {
    ModelWorld world;
    Project& project = world.project("name");
    project.setSortOrder(-3);
    project.setLinkedFolderOwner("owner");
    Project& read = world.blank<Project>(7);
    copyThroughARow(project, read);
    EXPECT_EQ(read.uuid(), project.uuid());
    EXPECT_EQ(read.name(), "name");
    EXPECT_EQ(read.sortOrder(), -3);
    EXPECT_EQ(read.linkedFolderOwner(), "owner");
    EXPECT_EQ(read.createdAt(), project.createdAt());
    EXPECT_FALSE(hasChanges(read));
}

TEST(LibrarySchema, BringsEveryFieldOfATagBackFromItsRow) {
    ModelWorld world;
    const Tag& tag = world.tag("name");
    Tag& read = world.blank<Tag>(7);
    copyThroughARow(tag, read);
    EXPECT_EQ(read.uuid(), tag.uuid());
    EXPECT_EQ(read.name(), "name");
    EXPECT_EQ(read.createdAt(), tag.createdAt());
    EXPECT_FALSE(hasChanges(read));
}

TEST(LibrarySchema, FindsThePayloadsOfAThingAndNoOthers) {
    ModelWorld world;
    const Thing& thing = fullThing(world);
    std::vector<Payload> payloads;
    for (const auto& attribute : Thing::description().attributes) {
        if (attribute.payload == nullptr) continue;
        payloads.push_back(attribute.payload(thing).value());
    }
    EXPECT_THAT(payloads, ElementsAre(payload(1), payload(2), payload(3)));
}

}  // namespace
}  // namespace kelto
