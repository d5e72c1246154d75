#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// --- JSON beyond all measure
// ----------------------------------------------------------------------

/// A request whose only record holds this JSON text under a key that nobody reads, and a title.
std::string requestWith(const TestLibrary& library, const std::string& json) {
    std::string text =
        RequestBuilder()
            .record(RecordBuilder::thing(firstId).with("title", "kept").with("unknown", "HERE"))
            .text(library.storePath(), library.exchangeFolder());
    return text.replace(text.find("\"HERE\""), 6, json);
}

std::string nested(std::size_t depth, char open, char close) {
    return std::string(depth, open) + std::string(depth, close);
}

TEST(HostileRequest, MayBeNestedToTheReadersLimit) {
    TestLibrary library;
    // The request, its records and the record itself are three.
    const Response response(library.exchangeText(requestWith(library, nested(509, '[', ']'))));
    EXPECT_EQ(response.string(firstId, "title"), "kept");
}

TEST(HostileRequest, NestedDeeperIsTheReadersErrorHoweverDeep) {
    TestLibrary library;
    for (const std::size_t depth : {510u, 100'000u, 3'000'000u}) {
        const Response response(
            library.exchangeText(requestWith(library, nested(depth, '[', ']'))));
        EXPECT_THAT(response.error(), StartsWith("The JSON text is not valid")) << depth;
    }
    EXPECT_THAT(Response(library.exchangeText(std::string(3'000'000, '['))).error(),
                StartsWith("The JSON text is not valid"));
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += R"({"a":)";
    EXPECT_THAT(Response(library.exchangeText(objects)).error(),
                StartsWith("The JSON text is not valid"));
    EXPECT_THAT(library.exchange().records(), IsEmpty());
}

TEST(HostileRequest, MayHoldTextsOfMegabytes) {
    TestLibrary library;
    const std::string text(5'000'000, '/');
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("content", text).with("note", "é")));
    EXPECT_EQ(response.string(firstId, "content"), text);
    library.restart();
    EXPECT_EQ(library.exchange().string(firstId, "content"), text);
}

TEST(HostileRequest, MayHoldNulCharactersInEveryText) {
    TestLibrary library;
    const std::string text("a\0b\0", 4);
    RecordBuilder thing = RecordBuilder::thing(firstId);
    const std::vector<std::string> keys = {"kind",
                                           "title",
                                           "subtitle",
                                           "content",
                                           "note",
                                           "urlString",
                                           "fileName",
                                           "typeIdentifier",
                                           "metadataJson"};
    for (const std::string& key : keys) thing.with(key, text);
    (void)library.exchange(RequestBuilder()
                               .record(thing)
                               .record(RecordBuilder::tag(firstId).with("name", text))
                               .record(RecordBuilder::project(firstId)
                                           .with("name", text)
                                           .with("linkedFolderOwner", text)));
    library.restart();
    const Response response = library.exchange();
    const JsonValue& stored = response.records().back();
    for (const std::string& key : keys) EXPECT_EQ(*stored.member(key)->string(), text) << key;
    for (const JsonValue& record : response.records()) {
        const JsonValue* name = record.member("name");
        EXPECT_TRUE(name == nullptr || *name->string() == text);
    }
    EXPECT_THAT(response.text(), HasSubstr("\\u0000"));
}

TEST(HostileRequest, MayHoldEveryCharacter) {
    TestLibrary library;
    const std::string text =
        "\x01\x1F\x7F \xC2\x80 \xE2\x80\xA8 \xEF\xBB\xBF \xEF\xBF\xBF \xF4\x8F\xBF\xBF e\xCC\x81 "
        "\"\\/";
    const Response response = library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("title", text)));
    EXPECT_EQ(response.string(firstId, "title"), text) << "no normal form, no repair";
}

/// What comes through the C function is repaired before; the reader does not rely on it.
TEST(HostileRequest, ThatIsNotUtf8IsTheReadersError) {
    const TestLibrary library;
    for (const char* bytes : {"\"\xFF\"", "\"\xC3\"", "\"\xED\xA0\x80\"", "\"\xF5\x80\x80\x80\""}) {
        try {
            const ExchangeRequest request(LargeText(requestWith(library, bytes)));
            ADD_FAILURE() << "was read";
        } catch (const PlatformError& error) {
            EXPECT_THAT(error.what(), HasSubstr("these bytes are not UTF-8"));
        }
    }
}

TEST(HostileRequest, MayHoldAnUnendingNumber) {
    TestLibrary library;
    const std::string digits(1'000'000, '9');
    const RecordBuilder thing = RecordBuilder::thing(firstId)
                                    .with("fileSize", JsonNumber{digits})
                                    .with("aspectRatio", JsonNumber{digits})
                                    .with("createdAt", JsonNumber{"-1e999999999999"})
                                    .with("updatedAt", JsonNumber{"1e-999999999999"});
    const Response response = library.exchange(RequestBuilder().record(thing));
    EXPECT_EQ(response.integer(firstId, "fileSize"), 0);
    EXPECT_EQ(response.number(firstId, "aspectRatio"), 1.0);
    EXPECT_EQ(response.integer(firstId, "createdAt"), 0);
    EXPECT_EQ(response.integer(firstId, "updatedAt"), 0);
}

TEST(HostileRequest, MayRepeatAKeyOfARecord) {
    TestLibrary library;
    std::string text = requestWith(library, "1");
    text.insert(text.find("\"unknown\""), R"("uuid":"x","recordType":"Book",)");
    text.insert(text.find("\"unknown\""),
                R"("uuid":")" + identifier(2) + R"(","recordType":"Tag","name":"last",)");
    const Response response(library.exchangeText(text));
    EXPECT_EQ(response.string(identifier(2), "name"), "last");
    EXPECT_THAT(response.records(), testing::SizeIs(1));
}

TEST(HostileRequest, MayHoldManyRecords) {
    TestLibrary library;
    JsonElements records;
    constexpr unsigned count = 20'000;
    for (unsigned i = 0; i < count; ++i)
        records.push_back(RecordBuilder::tag(identifier(i)).json());
    const Response response = library.exchange(RequestBuilder().with("records", records));
    EXPECT_THAT(response.records(), testing::SizeIs(count));
}

TEST(HostileRequest, MayAttachManyTags) {
    TestLibrary library;
    RequestBuilder request;
    JsonElements records;
    std::vector<std::string> tags;
    for (unsigned i = 1'000; i < 4'000; ++i) {
        tags.push_back(identifier(i));
        records.push_back(RecordBuilder::tag(tags.back()).json());
    }
    records.push_back(RecordBuilder::thing(firstId).withTags(tags).json());
    const Response response = library.exchange(request.with("records", records));
    EXPECT_EQ(response.strings(firstId, "tags"), tags);
}

TEST(HostileRequest, OfRandomBytesIsAlwaysAnError) {
    TestLibrary library;
    SeededRandom random(7);
    for (int i = 0; i < 300; ++i) {
        std::string text;
        for (std::uint64_t length = random.bits() % 50; length > 0; --length) {
            text += static_cast<char>(random.bits());
        }
        EXPECT_TRUE(Response(library.exchangeText(text)).isError()) << text;
    }
}

TEST(HostileRequest, CutOffAnywhereIsAnErrorThatLeavesNothing) {
    TestLibrary library;
    const std::string text = requestWith(library, R"({"a":[1,"\u00e9"]})");
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_TRUE(Response(library.exchangeText(text.substr(0, length))).isError()) << length;
    }
    EXPECT_FALSE(exists(library.storePath()));
}

}  // namespace
}  // namespace kelto
