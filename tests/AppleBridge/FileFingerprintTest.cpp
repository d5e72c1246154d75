#include <limits>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "tests/support/GoldenFile.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

// --- Frozen texts
// ---------------------------------------------------------------------------------

TEST(FileFingerprint, IsTheFrozenDigestOfTheFrozenText) {
    expectGolden("file-fingerprints.json", [](const JsonValue& input) -> JsonMembers {
        const std::string kind = goldenText(input, "kind");
        const std::string title = goldenText(input, "title");
        const std::string content = goldenText(input, "content");
        const std::string url = goldenText(input, "url");
        const std::string name = goldenText(input, "name");
        FileFacts facts{kind, title, content, url, name, std::nullopt, std::nullopt};
        if (const JsonValue* trashed = input.member("trashedMilliseconds")) {
            facts.trashed = Date::fromMilliseconds(trashed->number()->real().value());
        }
        if (const JsonValue* data = input.member("data")) {
            facts.data = Payload{sha256(*data->string())};
        }
        return {{"canonicalJson", canonicalJson(facts)},
                {"fileFingerprint", fileFingerprint(facts)}};
    });
}

TEST(ThingFingerprint, IsTheFrozenDigestOfTheFrozenRecord) {
    expectGolden("thing-records.json", [](const JsonValue& input) -> JsonMembers {
        TestLibrary library;
        RequestBuilder request;
        RecordBuilder thing = RecordBuilder::thing("");
        for (const auto& [key, value] : *input.member("record")->object()) thing.with(key, value);
        for (const auto& [key, bytes] : *input.member("files")->object()) {
            thing.with(key, library.putFile(key, *bytes.string()));
        }
        for (unsigned tag : {0xAAu, 0xBBu}) request.record(RecordBuilder::tag(identifier(tag)));
        request.record(RecordBuilder::project(identifier(0xCC))).record(thing);
        const Response response = library.exchange(request);

        // The record as it was written, with payloads by their digests, is what was digested.
        JsonValue record = response.records().back();
        const std::string fingerprint = goldenText(record, "fingerprint");
        record.removeMember("fingerprint");
        for (const auto& [key, bytes] : *input.member("files")->object()) {
            record.setMember(key, sha256(*bytes.string()).hex());
        }
        return {{"canonicalRecord", record.text()}, {"fingerprint", fingerprint}};
    });
}

// --- What enters a fingerprint
// --------------------------------------------------------------------

/// The fingerprint of a stored item.
std::string fingerprintOf(TestLibrary& library, const RecordBuilder& thing) {
    return library.exchange(RequestBuilder().record(thing)).string(firstId, "fileFingerprint");
}

RecordBuilder item() {
    return RecordBuilder::thing(firstId)
        .with("kind", "document")
        .with("title", "Plan")
        .with("content", "content")
        .with("urlString", "https://example.org")
        .with("fileName", "plan.md");
}

struct Member {
    const char* key;
    const char* json;
};

void PrintTo(const Member& member, std::ostream* out) {
    *out << member.key;
}

std::string keyOf(const testing::TestParamInfo<Member>& info) {
    return info.param.key;
}

class PartOfTheFile : public testing::TestWithParam<Member> {};

TEST_P(PartOfTheFile, ChangesTheFingerprintAndGivesItBack) {
    TestLibrary library;
    const std::string before = fingerprintOf(library, item());
    const std::string changed =
        fingerprintOf(library, item().with(GetParam().key, JsonValue::parse(GetParam().json)));
    EXPECT_NE(changed, before);
    EXPECT_EQ(fingerprintOf(library, item()), before);
}

constexpr Member partsOfTheFile[] = {{"kind", R"("note")"},
                                     {"title", R"("plan")"},
                                     {"content", R"("")"},
                                     {"urlString", R"("https://example.org/")"},
                                     {"fileName", R"("plan.txt")"},
                                     {"trashedAt", "1000"}};
INSTANTIATE_TEST_SUITE_P(FileFingerprint, PartOfTheFile, testing::ValuesIn(partsOfTheFile), keyOf);

TEST(FileFingerprint, ChangesWithTheBytesAndTellsNoBytesFromNone) {
    TestLibrary library;
    const std::string without = fingerprintOf(library, item());
    const std::string empty =
        fingerprintOf(library, item().with("data", library.putFile("in", "")));
    const std::string some =
        fingerprintOf(library, item().with("data", library.putFile("in", "a")));
    const std::string other =
        fingerprintOf(library, item().with("data", library.putFile("in", "b")));
    EXPECT_NE(without, empty);
    EXPECT_NE(empty, some);
    EXPECT_NE(some, other);
    EXPECT_EQ(fingerprintOf(library, item()), without);
}

class NoPartOfTheFile : public testing::TestWithParam<Member> {};

TEST_P(NoPartOfTheFile, LeavesTheFingerprint) {
    TestLibrary library;
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::tag(identifier(2)))
                               .record(RecordBuilder::project(identifier(3))));
    const std::string before = fingerprintOf(library, item());
    EXPECT_EQ(
        fingerprintOf(library, item().with(GetParam().key, JsonValue::parse(GetParam().json))),
        before);
}

constexpr Member noPartsOfTheFile[] = {
    {"subtitle", R"("b")"},
    {"note", R"("b")"},
    {"typeIdentifier", R"("public.png")"},
    {"fileSize", "9"},
    {"aspectRatio", "2"},
    {"isStarred", "true"},
    {"createdAt", "5"},
    {"updatedAt", "5"},
    {"metadataJson", R"("{}")"},
    {"tags", R"(["5eed0000-0000-4000-8000-000000000002"])"},
    {"project", R"("5eed0000-0000-4000-8000-000000000003")"},
};
INSTANTIATE_TEST_SUITE_P(FileFingerprint,
                         NoPartOfTheFile,
                         testing::ValuesIn(noPartsOfTheFile),
                         keyOf);

TEST(FileFingerprint, LeavesOutThumbnailAndIcon) {
    TestLibrary library;
    const std::string before = fingerprintOf(library, item());
    EXPECT_EQ(fingerprintOf(library,
                            item()
                                .with("thumbnail", library.putFile("in", "small"))
                                .with("icon", library.putFile("in", "smaller"))),
              before);
}

TEST(FileFingerprint, OfTheHostsValuesIsThatOfTheStoredThing) {
    TestLibrary library;
    const std::string bytes = "the bytes";
    const FileFacts facts{"document",
                          "Plan",
                          "content",
                          "https://example.org",
                          "plan.md",
                          Date::fromMilliseconds(5),
                          Payload{sha256(bytes)}};
    EXPECT_EQ(fingerprintOf(library,
                            item().with("trashedAt", 5).with("data", library.putFile("in", bytes))),
              fileFingerprint(facts));
}

TEST(FileFingerprint, OfAMomentThatNobodyCanWriteStopsTheProcess) {
    const FileFacts facts{"", "", "", "", "", Date{1e300}, std::nullopt};
    EXPECT_DEATH((void)fileFingerprint(facts), "kelto/AppleBridge:[0-9]+");
}

}  // namespace
}  // namespace kelto
