#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::SizeIs;

/// A library with one item in a linked folder. The "note" of a record is no part of the file: it
/// tells whether the record was applied without touching any fingerprint.
class LinkedFolder {
public:
    LinkedFolder() {
        (void)library.exchange(RequestBuilder().record(
            RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac")));
    }

    [[nodiscard]] static RecordBuilder item(const std::string& title) {
        return RecordBuilder::thing(firstId)
            .with("kind", "note")
            .with("title", title)
            .with("project", folderId)
            .with("updatedAt", 1000);
    }

    /// Puts a version into the store, as the mirroring or another host would.
    std::string store(RecordBuilder record) {
        record.without("baseFileFingerprint").with("updatedAt", nextTime_ += 1000);
        return library.exchange(RequestBuilder().record(record)).string(firstId, "fileFingerprint");
    }

    /// The fingerprint that an item with these values has.
    static std::string fingerprintOf(const RecordBuilder& record) {
        TestLibrary other;
        return other.exchange(RequestBuilder().record(record)).string(firstId, "fileFingerprint");
    }

    TestLibrary library;

private:
    int nextTime_ = 1'000'000;
};

// --- The rule of three fingerprints
// ---------------------------------------------------------------

enum class Version { first, second, third };
enum class Outcome { skipped, applied, appliedWithACopy };

struct RuleCase {
    const char* name;
    Version base;
    Version stored;
    Version host;
    Outcome outcome;
};

std::string title(Version version) {
    constexpr const char* titles[] = {"first", "second", "third"};
    return titles[static_cast<int>(version)];
}

class FingerprintRule : public testing::TestWithParam<std::tuple<RuleCase, bool>> {};

TEST_P(FingerprintRule, DecidesWhateverTheTimes) {
    const auto& [rule, hostIsLater] = GetParam();
    LinkedFolder linked;
    (void)linked.store(LinkedFolder::item(title(rule.stored)).with("note", "stored"));
    const std::string base = LinkedFolder::fingerprintOf(LinkedFolder::item(title(rule.base)));

    const Response response = linked.library.exchange(
        RequestBuilder().record(LinkedFolder::item(title(rule.host))
                                    .with("note", "host")
                                    .with("updatedAt", hostIsLater ? 9e12 : 0.0)
                                    .with("baseFileFingerprint", base)));

    const bool applied = rule.outcome != Outcome::skipped;
    EXPECT_EQ(response.string(firstId, "note"), applied ? "host" : "stored");
    EXPECT_EQ(response.string(firstId, "title"), title(applied ? rule.host : rule.stored));
    EXPECT_THAT(response.identifiers("Thing"),
                SizeIs(rule.outcome == Outcome::appliedWithACopy ? 2 : 1));
}

// Three fingerprints can be equal or not in five ways.
constexpr RuleCase ruleCases[] = {
    {"NobodyChanged", Version::first, Version::first, Version::first, Outcome::applied},
    {"HostChanged", Version::first, Version::first, Version::second, Outcome::applied},
    {"StoreChanged", Version::first, Version::second, Version::first, Outcome::skipped},
    {"BothChangedAlike", Version::first, Version::second, Version::second, Outcome::applied},
    {"BothChanged", Version::first, Version::second, Version::third, Outcome::appliedWithACopy},
};
INSTANTIATE_TEST_SUITE_P(LinkedFolder,
                         FingerprintRule,
                         testing::Combine(testing::ValuesIn(ruleCases), testing::Bool()),
                         [](const auto& rule) {
                             return std::string(std::get<0>(rule.param).name) +
                                    (std::get<1>(rule.param) ? "HostLater" : "StoreLater");
                         });

struct Part {
    const char* name;
    const char* json;
};

class PartOfALinkedFile : public testing::TestWithParam<Part> {};

TEST_P(PartOfALinkedFile, ChangedInTheStoreAloneStands) {
    LinkedFolder linked;
    const std::string base = linked.store(LinkedFolder::item("a"));
    (void)linked.store(
        LinkedFolder::item("a").with(GetParam().name, JsonValue::parse(GetParam().json)));
    const Response response =
        linked.library.exchange(RequestBuilder().record(LinkedFolder::item("a")
                                                            .with("note", "host")
                                                            .with("baseFileFingerprint", base)
                                                            .with("updatedAt", 9e12)));
    EXPECT_EQ(response.string(firstId, "note"), "");
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(1));
}

TEST_P(PartOfALinkedFile, ChangedByTheHostAloneIsApplied) {
    LinkedFolder linked;
    const std::string base = linked.store(LinkedFolder::item("a"));
    const Response response = linked.library.exchange(
        RequestBuilder().record(LinkedFolder::item("a")
                                    .with("note", "host")
                                    .with("baseFileFingerprint", base)
                                    .with("updatedAt", 0)
                                    .with(GetParam().name, JsonValue::parse(GetParam().json))));
    EXPECT_EQ(response.string(firstId, "note"), "host");
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(1));
}

TEST_P(PartOfALinkedFile, ChangedByTheHostAgainstAChangeInTheStoreMakesACopy) {
    LinkedFolder linked;
    const std::string base = linked.store(LinkedFolder::item("a"));
    (void)linked.store(LinkedFolder::item("a").with("content", "changed in the store"));
    const Response response = linked.library.exchange(
        RequestBuilder().record(LinkedFolder::item("a")
                                    .with("baseFileFingerprint", base)
                                    .with(GetParam().name, JsonValue::parse(GetParam().json))));
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(2));
}

constexpr Part parts[] = {{"kind", R"("quote")"},
                          {"title", R"("b")"},
                          {"content", R"("b")"},
                          {"urlString", R"("b")"},
                          {"fileName", R"("b")"},
                          {"trashedAt", "5"}};
INSTANTIATE_TEST_SUITE_P(LinkedFolder, PartOfALinkedFile, testing::ValuesIn(parts), caseName<Part>);

TEST(LinkedFolder, TakesTheBytesForAPartOfTheFile) {
    LinkedFolder linked;
    const auto bytes = [&](const char* text) { return linked.library.putFile(text, text); };
    const std::string base = linked.store(LinkedFolder::item("a").with("data", bytes("first")));
    (void)linked.store(LinkedFolder::item("a").with("data", bytes("second")));
    const RecordBuilder host =
        LinkedFolder::item("a").with("note", "host").with("baseFileFingerprint", base);

    const Response unchanged = linked.library.exchange(
        RequestBuilder().record(RecordBuilder(host).with("data", bytes("first"))));
    EXPECT_EQ(unchanged.string(firstId, "note"), "");
    EXPECT_EQ(linked.library.received(firstId, "data"), "second");

    const Response changed = linked.library.exchange(
        RequestBuilder().record(RecordBuilder(host).with("data", bytes("third"))));
    EXPECT_EQ(changed.string(firstId, "note"), "host");
    EXPECT_THAT(changed.identifiers("Thing"), SizeIs(2));
    EXPECT_EQ(linked.library.received(firstId, "data"), "third");
}

// --- When the rule does not hold
// ------------------------------------------------------------------

TEST(LinkedFolder, AppliesARecordOfANewThingWhateverItsBase) {
    LinkedFolder linked;
    const Response response = linked.library.exchange(RequestBuilder().record(
        LinkedFolder::item("host").with("baseFileFingerprint", std::string(64, '0'))));
    EXPECT_EQ(response.string(firstId, "title"), "host");
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(1));
}

TEST(LinkedFolder, IsOneFromTheRecordOnThatGivesItsProjectALinkOwner) {
    const std::string other = identifier(0x77);
    TestLibrary library;
    const auto thing = [](const std::string& uuid, const std::string& title) {
        return RecordBuilder::thing(uuid).with("project", folderId).with("title", title);
    };
    const Response base = library.exchange(RequestBuilder()
                                               .record(RecordBuilder::project(folderId))
                                               .record(thing(firstId, "a").with("updatedAt", 1000))
                                               .record(thing(other, "b").with("updatedAt", 1000)));
    (void)library.exchange(
        RequestBuilder().record(thing(other, "changed in the store").with("updatedAt", 2000)));
    // While the first record is merged, the project is an ordinary one.
    const Response response = library.exchange(
        RequestBuilder()
            .record(thing(firstId, "a")
                        .with("updatedAt", 3000)
                        .with("baseFileFingerprint", base.string(firstId, "fileFingerprint")))
            .record(RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac"))
            .record(thing(other, "b")
                        .with("updatedAt", 3000)
                        .with("baseFileFingerprint", base.string(other, "fileFingerprint"))));
    EXPECT_EQ(response.string(other, "title"), "changed in the store");
}

class NoBase : public testing::TestWithParam<Part> {};

TEST_P(NoBase, LeavesTheDecisionToTheTimes) {
    LinkedFolder linked;
    (void)linked.store(LinkedFolder::item("stored"));
    RecordBuilder host = LinkedFolder::item("host");
    if (*GetParam().json != '\0') {
        host.with("baseFileFingerprint", JsonValue::parse(GetParam().json));
    }
    const Response earlier =
        linked.library.exchange(RequestBuilder().record(host.with("updatedAt", 0)));
    EXPECT_EQ(earlier.string(firstId, "title"), "stored");
    const Response later =
        linked.library.exchange(RequestBuilder().record(host.with("updatedAt", 9e12)));
    EXPECT_EQ(later.string(firstId, "title"), "host");
    EXPECT_THAT(later.identifiers("Thing"), SizeIs(1));
}
constexpr Part noBases[] = {{"Absent", ""}, {"Null", "null"}, {"Number", "5"}, {"List", "[]"}};
INSTANTIATE_TEST_SUITE_P(LinkedFolder, NoBase, testing::ValuesIn(noBases), caseName<Part>);

TEST(LinkedFolder, TakesAnEmptyBaseForAFingerprint) {
    LinkedFolder linked;
    (void)linked.store(LinkedFolder::item("stored"));
    const Response response = linked.library.exchange(RequestBuilder().record(
        LinkedFolder::item("host").with("updatedAt", 0).with("baseFileFingerprint", "")));
    EXPECT_EQ(response.string(firstId, "title"), "host");
    EXPECT_THAT(response.identifiers("Thing"), SizeIs(2));
}

/// Whether the rule of fingerprints decides about a thing in the project `holder`: the stored
/// version is later, and the host's record claims to be based on it.
bool isDecidedByFingerprints(TestLibrary& library, const std::string& holder) {
    const RecordBuilder stored =
        RecordBuilder::thing(firstId).with("project", holder).with("updatedAt", 2000);
    const std::string base =
        library.exchange(RequestBuilder().record(stored)).string(firstId, "fileFingerprint");
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)
                                                     .with("title", "host")
                                                     .with("project", holder)
                                                     .with("updatedAt", 1000)
                                                     .with("baseFileFingerprint", base)));
    return response.string(firstId, "title") == "host";
}

TEST(LinkedFolder, IsAProjectWithAnOwner) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac")));
    EXPECT_TRUE(isDecidedByFingerprints(library, folderId));
}

TEST(LinkedFolder, IsNoProjectWithoutAnOwner) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder().record(RecordBuilder::project(folderId)));
    EXPECT_FALSE(isDecidedByFingerprints(library, folderId));
}

TEST(LinkedFolder, HoldsNoThingWithoutAProject) {
    TestLibrary library;
    EXPECT_FALSE(isDecidedByFingerprints(library, ""));
}

TEST(LinkedFolder, HoldsAllProjectsBelowItHoweverDeep) {
    TestLibrary library;
    constexpr unsigned depth = 100;
    RequestBuilder request;
    for (unsigned i = 1; i < depth; ++i) {
        request.record(
            RecordBuilder::project(identifier(100 + i)).with("parent", identifier(101 + i)));
    }
    request.record(
        RecordBuilder::project(identifier(100 + depth)).with("linkedFolderOwner", "Mac"));
    (void)library.exchange(request);
    EXPECT_TRUE(isDecidedByFingerprints(library, identifier(101)));
}

TEST(LinkedFolder, DoesNotHoldTheProjectsAboveIt) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::project(identifier(2)))
                               .record(RecordBuilder::project(folderId)
                                           .with("parent", identifier(2))
                                           .with("linkedFolderOwner", "Mac")));
    EXPECT_FALSE(isDecidedByFingerprints(library, identifier(2)));
}

TEST(LinkedFolder, IsTheStoredProjectAndNotTheOneInTheRecord) {
    LinkedFolder linked;
    const std::string base = linked.store(LinkedFolder::item("stored"));
    const Response response =
        linked.library.exchange(RequestBuilder()
                                    .record(RecordBuilder::project(identifier(2)))
                                    .record(LinkedFolder::item("host")
                                                .with("project", identifier(2))
                                                .with("updatedAt", 0)
                                                .with("baseFileFingerprint", base)));
    EXPECT_EQ(response.string(firstId, "title"), "host");
    EXPECT_EQ(response.string(firstId, "project"), identifier(2));
}

TEST(LinkedFolder, IsWhatTheRecordsBeforeTheThingsHaveMadeOfIt) {
    for (const bool projectFirst : {true, false}) {
        TestLibrary library;
        (void)library.exchange(RequestBuilder()
                                   .record(RecordBuilder::project(folderId))
                                   .record(RecordBuilder::thing(firstId)
                                               .with("title", "stored")
                                               .with("project", folderId)
                                               .with("updatedAt", 2000)));
        const RecordBuilder link =
            RecordBuilder::project(folderId).with("linkedFolderOwner", "Mac");
        RequestBuilder request;
        if (projectFirst) request.record(link);
        request.record(RecordBuilder::thing(firstId)
                           .with("title", "host")
                           .with("updatedAt", 1000)
                           .with("baseFileFingerprint", "neither"));
        if (!projectFirst) request.record(link);
        const Response response = library.exchange(request);
        EXPECT_EQ(response.string(firstId, "title"), projectFirst ? "host" : "stored");
        EXPECT_THAT(response.identifiers("Thing"), SizeIs(projectFirst ? 2 : 1));
    }
}

TEST(LinkedFolder, OnACycleOfForeignDataDoesNotHang) {
    TestLibrary library;
    const std::string other = identifier(0xE);
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::project(folderId).with("parent", other))
                               .record(RecordBuilder::project(other))
                               .record(RecordBuilder::thing(firstId).with("project", folderId)));
    library.changeStore(
        R"(UPDATE "Project" SET "parent" = (SELECT min("id") FROM "Project") WHERE "parent" IS NULL)");
    const RecordBuilder host = RecordBuilder::thing(firstId).with("baseFileFingerprint", "x");
    EXPECT_EQ(library.exchange(RequestBuilder().record(host)).error(),
              "The library contains a project cycle.");
    const Response repaired =
        library.exchange(RequestBuilder().record(host).record(RecordBuilder::project(folderId)));
    EXPECT_FALSE(repaired.isError());
}

}  // namespace
}  // namespace kelto
