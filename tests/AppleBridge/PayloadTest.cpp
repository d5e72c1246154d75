#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/Sha256.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string other = identifier(2);

/// So many bytes that no two places look alike.
std::string bytes(std::size_t size, unsigned seed = 1) {
    std::string result;
    result.reserve(size);
    std::uint32_t state = seed;
    while (result.size() < size) {
        state = state * 1664525U + 1013904223U;
        result += static_cast<char>(state >> 24);
    }
    return result;
}

Response put(TestLibrary& library,
             const std::string& uuid,
             const char* key,
             const std::string& contents) {
    return library.exchange(RequestBuilder().record(
        RecordBuilder::thing(uuid).with(key, library.putFile(uuid, contents))));
}

// --- Any size
// -------------------------------------------------------------------------------------

struct SizeCase {
    const char* name;
    std::size_t size;
    std::size_t externalFiles;
};

class PayloadOfSize : public testing::TestWithParam<SizeCase> {};

TEST_P(PayloadOfSize, ComesBackByteForByteAlsoAfterARestart) {
    TestLibrary library;
    const std::string contents = bytes(GetParam().size);
    (void)put(library, firstId, "data", contents);
    EXPECT_EQ(library.received(firstId, "data"), contents);
    EXPECT_THAT(library.externalFiles(), SizeIs(GetParam().externalFiles));
    std::filesystem::remove_all(library.exchangeFolder());
    library.restart();
    (void)library.exchange();
    EXPECT_EQ(library.received(firstId, "data"), contents);
}

constexpr std::size_t kilobyte = 1024;

constexpr SizeCase sizes[] = {
    {"Nothing", 0, 0},
    {"OneByte", 1, 0},
    {"LargestInTheDatabase", 64 * kilobyte, 0},
    {"SmallestBesideIt", 64 * kilobyte + 1, 1},
    {"OneBuffer", 256 * kilobyte, 1},
    {"OneBufferAndAByte", 256 * kilobyte + 1, 1},
    {"AMegabyteAndMore", kilobyte* kilobyte + 3, 1},
    {"ManyBuffers", 5 * kilobyte* kilobyte, 1},
};
INSTANTIATE_TEST_SUITE_P(Payload, PayloadOfSize, testing::ValuesIn(sizes), caseName<SizeCase>);

class PayloadKey : public testing::TestWithParam<const char*> {};

TEST_P(PayloadKey, HoldsItsOwnBytes) {
    TestLibrary library;
    const std::string contents = bytes(100'000);
    const Response response = put(library, firstId, GetParam(), contents);
    EXPECT_EQ(library.received(firstId, GetParam()), contents);
    EXPECT_THAT(library.receivedFiles(), ElementsAre(firstId + "." + GetParam()));
    EXPECT_EQ(response.string(firstId, GetParam()),
              library.receivedFolder() + "/" + firstId + "." + GetParam());
}
INSTANTIATE_TEST_SUITE_P(Payload,
                         PayloadKey,
                         testing::Values("data", "thumbnail", "icon"),
                         [](const auto& key) { return std::string(key.param); });

// --- The same bytes
// -------------------------------------------------------------------------------

TEST(Payload, OfTheSameBytesIsStoredOnce) {
    TestLibrary library;
    const std::string contents = bytes(100'000);
    const std::string path = library.putFile("in", contents);
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::thing(firstId)
                                           .with("data", path)
                                           .with("thumbnail", path)
                                           .with("icon", library.putFile("copy", contents)))
                               .record(RecordBuilder::thing(other).with("data", path)));
    EXPECT_THAT(library.externalFiles(), ElementsAre(sha256(contents).hex()));
    EXPECT_EQ(library.received(firstId, "icon"), contents);
    EXPECT_EQ(library.received(other, "data"), contents);
}

TEST(Payload, OfTheSameBytesIsStoredOnceAlsoInALaterExchange) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    (void)put(library, other, "icon", bytes(100'000));
    EXPECT_THAT(library.externalFiles(), SizeIs(1));
}

TEST(Payload, SharedByTwoThingsStaysWhenOneOfThemGoes) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    (void)put(library, other, "data", bytes(100'000));
    (void)library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", firstId)));
    EXPECT_THAT(library.externalFiles(), SizeIs(1));
    library.clearReceived();
    (void)library.exchange();
    EXPECT_EQ(library.received(other, "data"), bytes(100'000));
    (void)library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", other)));
    EXPECT_THAT(library.externalFiles(), IsEmpty());
}

TEST(Payload, ThatIsSentAgainWritesNothingIntoTheStore) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const auto modified = std::filesystem::last_write_time(library.externalFolder() + "/" +
                                                           library.externalFiles().front());
    (void)put(library, firstId, "data", bytes(100'000));
    EXPECT_THAT(library.externalFiles(), SizeIs(1)) << "no temporary file stays either";
    EXPECT_EQ(std::filesystem::last_write_time(library.externalFolder() + "/" +
                                               library.externalFiles().front()),
              modified);
}

// --- Replaced, removed
// ----------------------------------------------------------------------------

TEST(Payload, ThatReplacesAnotherTakesItsPlaceAndItsRoom) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000, 1));
    (void)put(library, firstId, "data", bytes(200'000, 2));
    EXPECT_EQ(library.received(firstId, "data"), bytes(200'000, 2));
    EXPECT_THAT(library.externalFiles(), ElementsAre(sha256(bytes(200'000, 2)).hex()));
}

TEST(Payload, MayShrinkIntoTheDatabaseAndGrowOutOfIt) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    (void)put(library, firstId, "data", "small");
    EXPECT_EQ(library.received(firstId, "data"), "small");
    EXPECT_THAT(library.externalFiles(), IsEmpty());
    (void)put(library, firstId, "data", bytes(100'000));
    EXPECT_EQ(library.received(firstId, "data"), bytes(100'000));
    EXPECT_THAT(library.externalFiles(), SizeIs(1));
}

TEST(Payload, ThatTheHostLeavesOutIsGone) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId)));
    EXPECT_FALSE(response.has(firstId, "data"));
    EXPECT_THAT(library.externalFiles(), IsEmpty());
}

TEST(Payload, OfADeletedThingIsGone) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    (void)library.exchange(RequestBuilder().record(RecordBuilder::deletion("Thing", firstId)));
    EXPECT_THAT(library.externalFiles(), IsEmpty());
}

TEST(Payload, OfADeletedThingMayComeBackWithAnother) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    (void)library.exchange(RequestBuilder()
                               .record(RecordBuilder::deletion("Thing", firstId))
                               .record(RecordBuilder::thing(other).with(
                                   "data", library.putFile("again", bytes(100'000)))));
    EXPECT_THAT(library.externalFiles(), SizeIs(1));
    EXPECT_EQ(library.received(other, "data"), bytes(100'000));
}

class NoReference : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(NoReference, MeansNoPayload) {
    TestLibrary library;
    (void)put(library, firstId, "data", "bytes");
    const Response response = library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstId).with("data", JsonValue::parse(GetParam().second))));
    EXPECT_FALSE(response.has(firstId, "data"));
}
INSTANTIATE_TEST_SUITE_P(Payload,
                         NoReference,
                         testing::Values(std::pair("Null", "null"),
                                         std::pair("Number", "5"),
                                         std::pair("False", "false"),
                                         std::pair("List", R"(["/etc/hostname"])"),
                                         std::pair("Object", "{}")),
                         [](const auto& value) { return std::string(value.param.first); });

TEST(Payload, OfARecordThatLosesIsNotKept) {
    TestLibrary library;
    (void)library.exchange(
        RequestBuilder().record(RecordBuilder::thing(firstId).with("updatedAt", 2000)));
    const Response response = put(library, firstId, "data", bytes(100'000));
    EXPECT_FALSE(response.has(firstId, "data"));
    EXPECT_THAT(library.externalFiles(), IsEmpty());
}

TEST(Payload, IsTheLibrarysOwnOnceTheExchangeIsOver) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    EXPECT_EQ(readFile(library.exchangeFolder() + "/" + firstId), bytes(100'000))
        << "the host's file stays";
    writeFile(library.exchangeFolder() + "/" + firstId, "changed afterwards");
    library.clearReceived();
    (void)library.exchange();
    EXPECT_EQ(library.received(firstId, "data"), bytes(100'000));
}

TEST(Payload, MayBeReadFromTheFolderThatTheLibraryWritesTo) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const Response response =
        library.exchange(RequestBuilder().record(RecordBuilder::thing(firstId).with(
            "icon", library.receivedFolder() + "/" + firstId + ".data")));
    EXPECT_EQ(library.received(firstId, "icon"), bytes(100'000));
    EXPECT_FALSE(response.has(firstId, "data"));
}

// --- Damage
// ---------------------------------------------------------------------------------------

TEST(Payload, WhoseFileIsMissingFailsTheExportNamingTheFile) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const std::string name = library.externalFiles().front();
    std::filesystem::remove(library.externalFolder() + "/" + name);
    EXPECT_THAT(library.exchange().error(), testing::HasSubstr(name));
    (void)put(library, other, "icon", "small");
    EXPECT_THAT(library.exchange().error(), testing::HasSubstr(name));
}

TEST(Payload, WhoseFileIsCutShortFailsTheExportNamingTheFile) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const std::string name = library.externalFiles().front();
    std::filesystem::resize_file(library.externalFolder() + "/" + name, 99'999);
    library.clearReceived();
    EXPECT_THAT(library.exchange().error(), testing::HasSubstr(name));
    EXPECT_THAT(library.receivedFiles(), IsEmpty());
}

TEST(Payload, ThatIsNotAskedForMayBeMissing) {
    TestLibrary library;
    const Response first = put(library, firstId, "data", bytes(100'000));
    std::filesystem::remove(library.externalFolder() + "/" + library.externalFiles().front());
    const Response second = library.exchange(
        RequestBuilder().knownFingerprint(firstId, first.string(firstId, "fingerprint")));
    EXPECT_EQ(second.record(firstId), first.record(firstId));
}

TEST(Payload, StraysAreSweptWhenTheStoreOpens) {
    TestLibrary library;
    (void)put(library, firstId, "data", bytes(100'000));
    const std::vector<std::string> before = library.externalFiles();
    writeFile(library.externalFolder() + "/" + sha256("stray").hex(), "stray");
    writeFile(library.externalFolder() + "/.kelto-0123456789abcdef.part", "half a payload");
    library.restart();
    (void)library.exchange();
    EXPECT_EQ(library.externalFiles(), before);
    library.clearReceived();
    (void)library.exchange();
    EXPECT_EQ(library.received(firstId, "data"), bytes(100'000));
}

TEST(Payload, StraysAreLeftWhileTheStoreIsOpen) {
    TestLibrary library;
    (void)library.exchange();
    const std::string stray = library.externalFolder() + "/" + sha256("stray").hex();
    writeFile(stray, "of another program that is about to commit");
    (void)put(library, firstId, "data", bytes(100'000));
    EXPECT_TRUE(exists(stray));
}

}  // namespace
}  // namespace kelto
