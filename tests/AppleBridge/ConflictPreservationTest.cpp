#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/ConflictPreservation.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/GoldenFile.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

// --- Identifier, file name, metadata
// --------------------------------------------------------------

TEST(ConflictIdentifier, IsFrozen) {
    expectGolden("conflict-identifiers.json", [](const JsonValue& input) -> JsonMembers {
        const Uuid uuid = Uuid::parse(goldenText(input, "uuid")).value();
        return {{"conflictIdentifier",
                 conflictIdentifier(uuid, goldenText(input, "fingerprint")).lowerCaseText()}};
    });
}

struct TextCase {
    const char* name;
    const char* before;
    const char* after;
};

class ConflictFileName : public testing::TestWithParam<TextCase> {};

TEST_P(ConflictFileName, HasTheMarkBeforeItsLastExtension) {
    EXPECT_EQ(conflictFileName(GetParam().before), GetParam().after);
}

constexpr TextCase fileNames[] = {
    {"OneDot", "plan.md", "plan (iCloud conflict).md"},
    {"SeveralDots", "notes.final.md", "notes.final (iCloud conflict).md"},
    {"NoDot", "README", "README (iCloud conflict)"},
    {"Empty", "", ""},
    {"Hidden", ".profile", ".profile (iCloud conflict)"},
    {"HiddenWithExtension", ".profile.txt", ".profile (iCloud conflict).txt"},
    {"TrailingDot", "plan.", "plan. (iCloud conflict)"},
    {"NotAscii", "Größe.PDF", "Größe (iCloud conflict).PDF"},
    {"ACopyOfACopy", "plan (iCloud conflict).md", "plan (iCloud conflict) (iCloud conflict).md"},
};
INSTANTIATE_TEST_SUITE_P(ConflictPreservation,
                         ConflictFileName,
                         testing::ValuesIn(fileNames),
                         caseName<TextCase>);

class ConflictMetadata : public testing::TestWithParam<TextCase> {};

TEST_P(ConflictMetadata, LosesTheTieToTheLinkedFile) {
    EXPECT_EQ(conflictMetadata(GetParam().before), GetParam().after);
}

constexpr TextCase metadata[] = {
    {"Tied", R"({"linkedRelativePath":"a/b.md","author":"Ada"})", R"({"author":"Ada"})"},
    {"TiedAlone", R"({"linkedRelativePath":"a"})", "{}"},
    {"TiedWithAnyValue", R"({"linkedRelativePath":{"a":[1]},"x":null})", R"({"x":null})"},
    {"NotTied", R"({"author":"Ada"})", R"({"author":"Ada"})"},
    {"TiedFurtherDown",
     R"({"a":{"linkedRelativePath":"b"}})",
     R"({"a":{"linkedRelativePath":"b"}})"},
    {"OtherLetterCase", R"({"LinkedRelativePath":"b"})", R"({"LinkedRelativePath":"b"})"},
    {"NumbersAsTheyStood",
     R"({"stars":12345678901234567890})",
     R"({"stars":12345678901234567890})"},
    {"List", R"( ["linkedRelativePath"] )", R"( ["linkedRelativePath"] )"},
    {"Text", R"("linkedRelativePath")", R"("linkedRelativePath")"},
    {"NoJson", "{linkedRelativePath:1}", "{linkedRelativePath:1}"},
    {"HalfAnObject", R"({"linkedRelativePath":"a")", R"({"linkedRelativePath":"a")"},
    {"Empty", "", ""},
};
INSTANTIATE_TEST_SUITE_P(ConflictPreservation,
                         ConflictMetadata,
                         testing::ValuesIn(metadata),
                         caseName<TextCase>);

// --- The operation itself
// -------------------------------------------------------------------------

/// A thing in a store, and what an exchange has at hand when it preserves it.
struct StoredThing {
    LibraryStore store;
    ModelContext context{store.container()};
    Thing& thing = context.insert<Thing>(ThingKind::document, "Plan");
    UniqueIndex<Thing> things = unique<Thing>({&thing});

    Thing& copyFor(std::string_view fingerprint) {
        preserveConflict(thing, fingerprint, things, context);
        return *things.find(conflictIdentifier(thing.uuid(), fingerprint));
    }
};

TEST(ConflictPreservation, KeepsOneCopyForOneState) {
    StoredThing stored;
    (void)stored.copyFor("state");
    (void)stored.copyFor("state");
    EXPECT_EQ(stored.things.size(), 2U);
    EXPECT_THAT(stored.context.fetch<Thing>(), SizeIs(2));
}

TEST(ConflictPreservation, KeepsAnotherCopyForAnotherState) {
    StoredThing stored;
    const Thing& first = stored.copyFor("state");
    const Thing& second = stored.copyFor("another");
    EXPECT_NE(first.uuid(), second.uuid());
    EXPECT_THAT(stored.context.fetch<Thing>(), SizeIs(3));
}

TEST(ConflictPreservation, CopiesAKindThatThisVersionDoesNotKnow) {
    StoredThing stored;
    stored.thing.setKindRaw("hologram");
    EXPECT_EQ(stored.copyFor("state").kindRaw(), "hologram");
}

TEST(ConflictPreservation, LeavesTheThingItselfAlone) {
    StoredThing stored;
    stored.thing.setTrashedAt(Date{5});
    stored.thing.setUpdatedAt(Date{6});
    stored.thing.setMetadataJSON(R"({"linkedRelativePath":"a"})");
    (void)stored.copyFor("state");
    EXPECT_EQ(stored.thing.title(), "Plan");
    EXPECT_EQ(stored.thing.trashedAt(), Date{5});
    EXPECT_EQ(stored.thing.updatedAt(), Date{6});
    EXPECT_EQ(stored.thing.metadataJSON(), R"({"linkedRelativePath":"a"})");
}

// --- Through an exchange
// --------------------------------------------------------------------------

/// A library whose linked item was changed since the host saw it, and the record with which the
/// host changes it too.
class Conflict {
public:
    Conflict() {
        (void)library.exchange(
            RequestBuilder()
                .record(RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac"))
                .record(RecordBuilder::tag(identifier(2)))
                .record(RecordBuilder::tag(identifier(3))));
        library.platform().clock->current = Date{1'700'000'000.25};
    }

    static RecordBuilder storedRecord() {
        return RecordBuilder::thing(firstId)
            .with("kind", "document")
            .with("title", "Plan")
            .with("subtitle", "stored subtitle")
            .with("content", "stored content")
            .with("note", "stored note")
            .with("urlString", "https://example.org/stored")
            .with("fileName", "notes.final.md")
            .with("typeIdentifier", "net.daringfireball.markdown")
            .with("fileSize", 77)
            .with("aspectRatio", 0.77)
            .with("isStarred", true)
            .with("trashedAt", 5000)
            .with("createdAt", 6000)
            .with("updatedAt", 7000)
            .with("metadataJson", R"({"linkedRelativePath":"notes.final.md","author":"Ada"})")
            .withTags({identifier(3), identifier(2)})
            .with("project", folderId);
    }
    static RecordBuilder hostRecord() {
        return RecordBuilder::thing(firstId)
            .with("title", "Host's plan")
            .with("fileName", "notes.final.md")
            .with("project", folderId)
            .with("updatedAt", 1)
            .with("baseFileFingerprint", std::string(64, '0'));
    }

    Response put(const RecordBuilder& record) {
        return library.exchange(RequestBuilder().record(record));
    }

    TestLibrary library;
};

/// The identifier of the copy: the one that is not the item's.
std::string copyIn(const Response& response) {
    for (const std::string& uuid : response.identifiers("Thing")) {
        if (uuid != firstId) return uuid;
    }
    return "(no copy)";
}

TEST(ConflictCopy, HasTheStoredFieldsUnderItsOwnNameAndTime) {
    Conflict conflict;
    const std::string stored =
        conflict.put(Conflict::storedRecord()).string(firstId, "fileFingerprint");
    const Response response = conflict.put(Conflict::hostRecord());
    const std::string copy = copyIn(response);

    EXPECT_EQ(copy, conflictIdentifier(Uuid::parse(firstId).value(), stored).lowerCaseText());
    EXPECT_EQ(response.string(copy, "title"), "Plan (iCloud conflict)");
    EXPECT_EQ(response.string(copy, "fileName"), "notes.final (iCloud conflict).md");
    EXPECT_EQ(response.integer(copy, "updatedAt"), 1'700'000'000'250);
    EXPECT_FALSE(response.has(copy, "trashedAt"));
    EXPECT_EQ(response.string(copy, "metadataJson"), R"({"author":"Ada"})");
    for (const char* key : {"kind",
                            "subtitle",
                            "content",
                            "note",
                            "urlString",
                            "typeIdentifier",
                            "fileSize",
                            "aspectRatio",
                            "isStarred",
                            "createdAt",
                            "project"}) {
        EXPECT_EQ(*response.record(copy).member(key), *Conflict::storedRecord().json().member(key))
            << key;
    }
    EXPECT_THAT(response.strings(copy, "tags"), ElementsAre(identifier(2), identifier(3)));
}

TEST(ConflictCopy, LeavesTheHostsValuesOnTheItem) {
    Conflict conflict;
    (void)conflict.put(Conflict::storedRecord());
    const Response response = conflict.put(Conflict::hostRecord());
    EXPECT_EQ(response.string(firstId, "title"), "Host's plan");
    EXPECT_EQ(response.string(firstId, "content"), "");
    EXPECT_EQ(response.integer(firstId, "updatedAt"), 1);
    EXPECT_EQ(response.string(firstId, "fileName"), "notes.final.md");
}

TEST(ConflictCopy, HasTheStoredPayloads) {
    Conflict conflict;
    const auto file = [&](const char* bytes) { return conflict.library.putFile("in", bytes); };
    (void)conflict.put(Conflict::storedRecord().with("data", file("stored data")));
    (void)conflict.put(Conflict::storedRecord()
                           .with("data", file("stored data"))
                           .with("thumbnail", conflict.library.putFile("t", "stored thumbnail"))
                           .with("icon", conflict.library.putFile("i", "stored icon")));
    const Response response =
        conflict.put(Conflict::hostRecord().with("data", file("the host's data")));
    const std::string copy = copyIn(response);
    EXPECT_EQ(conflict.library.received(copy, "data"), "stored data");
    EXPECT_EQ(conflict.library.received(copy, "thumbnail"), "stored thumbnail");
    EXPECT_EQ(conflict.library.received(copy, "icon"), "stored icon");
    EXPECT_EQ(conflict.library.received(firstId, "data"), "the host's data");
    EXPECT_FALSE(response.has(firstId, "thumbnail"));
}

TEST(ConflictCopy, SurvivesARestart) {
    Conflict conflict;
    (void)conflict.put(
        Conflict::storedRecord().with("data", conflict.library.putFile("in", "bytes")));
    const Response before = conflict.put(Conflict::hostRecord());
    conflict.library.restart();
    conflict.library.clearReceived();
    EXPECT_EQ(conflict.library.exchange().records(), before.records());
    EXPECT_EQ(conflict.library.received(copyIn(before), "data"), "bytes");
}

TEST(ConflictCopy, IsNotMadeAgainByTheSameRequest) {
    Conflict conflict;
    (void)conflict.put(Conflict::storedRecord());
    const Response first = conflict.put(Conflict::hostRecord());
    const Response second = conflict.put(Conflict::hostRecord());
    EXPECT_THAT(second.identifiers("Thing"), SizeIs(2));
    EXPECT_EQ(second.records(), first.records());
}

TEST(ConflictCopy, IsNotMadeAgainForTheSameStateMetAgain) {
    Conflict conflict;
    (void)conflict.put(Conflict::storedRecord());
    const Response first = conflict.put(Conflict::hostRecord());
    (void)conflict.put(Conflict::storedRecord());
    conflict.library.platform().clock->current = Date{1'800'000'000};
    const Response second = conflict.put(Conflict::hostRecord().with("title", "Another plan"));
    EXPECT_THAT(second.identifiers("Thing"), SizeIs(2));
    EXPECT_EQ(second.record(copyIn(second)), first.record(copyIn(first)));
    EXPECT_EQ(second.string(firstId, "title"), "Another plan");
}

TEST(ConflictCopy, IsMadeOnceMoreForAnotherState) {
    Conflict conflict;
    (void)conflict.put(Conflict::storedRecord());
    (void)conflict.put(Conflict::hostRecord());
    (void)conflict.put(Conflict::storedRecord().with("content", "edited once more"));
    const Response response = conflict.put(Conflict::hostRecord().with("title", "Again"));
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(3));
}

TEST(ConflictCopy, IsAnOrdinaryItemThatTheHostMayDelete) {
    Conflict conflict;
    (void)conflict.put(Conflict::storedRecord());
    const std::string copy = copyIn(conflict.put(Conflict::hostRecord()));
    const Response response = conflict.put(RecordBuilder::deletion("Thing", copy));
    EXPECT_THAT(response.identifiers("Thing"), ElementsAre(firstId));
}

}  // namespace
}  // namespace kelto
