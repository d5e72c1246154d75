#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/RequestBuilder.hpp"

namespace kelto {
namespace {

constexpr std::int64_t unreadableJsonCode = 3840;

struct NamedText {
    const char* name;
    const char* json;
};

// --- What is no request
// ---------------------------------------------------------------------------

class NoRequest : public testing::TestWithParam<NamedText> {};

TEST_P(NoRequest, IsRefusedWithTheSameSentence) {
    try {
        const ExchangeRequest request(GetParam().json);
        FAIL() << "it was accepted";
    } catch (const BridgeError& error) {
        EXPECT_EQ(error.message(), "Invalid bridge request.");
    }
}

constexpr NamedText noRequests[] = {
    {"EmptyObject", "{}"},
    {"EmptyArray", "[]"},
    {"ArrayAroundARequest", R"([{"version":1,"storePath":"/s","directory":"/d","records":[]}])"},
    {"NoVersion", R"({"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionTwo", R"({"version":2,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionZero", R"({"version":0,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionMinusOne", R"({"version":-1,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionAsText", R"({"version":"1","storePath":"/s","directory":"/d","records":[]})"},
    {"VersionTrue", R"({"version":true,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionNull", R"({"version":null,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionInAList", R"({"version":[1],"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionOneAndAHalf", R"({"version":1.5,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionNearlyOne",
     R"({"version":1.0000000000000000001,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionBeyond64Bits",
     R"({"version":18446744073709551617,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionBeyondADouble", R"({"version":1e400,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionInCapitals", R"({"Version":1,"storePath":"/s","directory":"/d","records":[]})"},
    {"NoStorePath", R"({"version":1,"directory":"/d","records":[]})"},
    {"StorePathANumber", R"({"version":1,"storePath":5,"directory":"/d","records":[]})"},
    {"StorePathNull", R"({"version":1,"storePath":null,"directory":"/d","records":[]})"},
    {"NoDirectory", R"({"version":1,"storePath":"/s","records":[]})"},
    {"DirectoryAList", R"({"version":1,"storePath":"/s","directory":["/d"],"records":[]})"},
    {"DirectoryFalse", R"({"version":1,"storePath":"/s","directory":false,"records":[]})"},
    {"NoRecords", R"({"version":1,"storePath":"/s","directory":"/d"})"},
    {"RecordsAnObject", R"({"version":1,"storePath":"/s","directory":"/d","records":{}})"},
    {"RecordsNull", R"({"version":1,"storePath":"/s","directory":"/d","records":null})"},
    {"RecordsAText", R"({"version":1,"storePath":"/s","directory":"/d","records":"[]"})"},
    {"ARecordThatIsNull", R"({"version":1,"storePath":"/s","directory":"/d","records":[null]})"},
    {"ARecordThatIsAList", R"({"version":1,"storePath":"/s","directory":"/d","records":[[]]})"},
    {"ANumberAmongRecords", R"({"version":1,"storePath":"/s","directory":"/d","records":[{},5]})"},
    {"ANumberBeforeARecord", R"({"version":1,"storePath":"/s","directory":"/d","records":[5,{}]})"},
    {"LastOfTwoVersionsWrong",
     R"({"version":1,"storePath":"/s","directory":"/d","records":[],"version":2})"},
    {"LastOfTwoDirectoriesWrong",
     R"({"version":1,"storePath":"/s","directory":"/d","records":[],"directory":1})"},
    {"LastOfTwoRecordListsWrong",
     R"({"version":1,"storePath":"/s","directory":"/d","records":[],"records":[1]})"},
};
INSTANTIATE_TEST_SUITE_P(ExchangeRequest,
                         NoRequest,
                         testing::ValuesIn(noRequests),
                         caseName<NamedText>);

// --- What is not JSON
// -----------------------------------------------------------------------------

class NoJson : public testing::TestWithParam<NamedText> {};

TEST_P(NoJson, IsTheReadersError) {
    try {
        const ExchangeRequest request(GetParam().json);
        FAIL() << "it was accepted";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), errorDomain::cocoa);
        EXPECT_EQ(error.code(), unreadableJsonCode);
    }
}

constexpr NamedText noJsons[] = {
    {"Nothing", ""},
    {"Blanks", " \t\r\n "},
    {"Word", "nonsense"},
    {"OpenObject", "{"},
    {"CommaAtTheEnd", R"({"version":1,"storePath":"/s","directory":"/d","records":[],})"},
    {"MoreBehind", R"({"version":1,"storePath":"/s","directory":"/d","records":[]} x)"},
    {"TwoDocuments", "{}{}"},
    {"Comment", "{} // no"},
    {"SingleQuotes", "{'version':1}"},
    {"NotANumber", R"({"version":NaN})"},
    {"LeadingZero", R"({"version":01})"},
    {"ControlCharacter", "{\"version\":1,\"storePath\":\"\n\"}"},
    {"NotUtf8", "{\"version\":1,\"storePath\":\"\xFF\"}"},
    {"NotUtf8InWhatNobodyReads", "{\"unknown\":\"\xC0\xAF\"}"},
    {"HalfASurrogatePair", R"({"version":1,"storePath":"\ud800"})"},
    {"UnknownEscape", R"({"version":1,"storePath":"\x"})"},
    {"WrongVersionButBrokenLater", R"({"version":2,"storePath":)"},
    {"Number", "5"},
    {"Text", R"("{}")"},
    {"True", "true"},
    {"Null", "null"},
};
INSTANTIATE_TEST_SUITE_P(ExchangeRequest, NoJson, testing::ValuesIn(noJsons), caseName<NamedText>);

// --- Requests
// -------------------------------------------------------------------------------------

class GoodRequest : public testing::TestWithParam<NamedText> {};

TEST_P(GoodRequest, IsRead) {
    const ExchangeRequest request(GetParam().json);
    EXPECT_EQ(request.storePath(), "/s");
    EXPECT_EQ(request.directory(), "/d");
    EXPECT_TRUE(request.records().empty());
}

constexpr NamedText goodRequests[] = {
    {"Plain", R"({"version":1,"storePath":"/s","directory":"/d","records":[]})"},
    {"InAnotherOrder", R"({"records":[],"directory":"/d","storePath":"/s","version":1})"},
    {"WithBlanks",
     " {\n\"version\" : 1 ,\r\n\t\"storePath\":\"/s\", \"directory\":\"/d\",\"records\": [ ] } "},
    {"VersionOnePointZero", R"({"version":1.0,"storePath":"/s","directory":"/d","records":[]})"},
    {"VersionWithExponent", R"({"version":10e-1,"storePath":"/s","directory":"/d","records":[]})"},
    {"WithUnknownMembers",
     R"({"version":1,"storePath":"/s","directory":"/d","records":[],"host":{"a":[1e400,null]}})"},
    {"WithEscapes", R"({"\u0076ersion":1,"storePath":"\/s","directory":"\u002fd","records":[]})"},
    {"WithAByteOrderMark",
     "\xEF\xBB\xBF{\"version\":1,\"storePath\":\"/s\",\"directory\":\"/d\",\"records\":[]}"},
    {"TheLastOfRepeatedMembersHolds",
     R"({"version":2,"storePath":5,"directory":"/x","records":[{}],)"
     R"("version":1,"storePath":"/s","directory":"/d","records":[]})"},
};
INSTANTIATE_TEST_SUITE_P(ExchangeRequest,
                         GoodRequest,
                         testing::ValuesIn(goodRequests),
                         caseName<NamedText>);

// Each record takes hundreds of bytes, however short its text is.
TEST(ExchangeRequest, KeepsNothingBehindTheFirstRecordThatIsSureToBeRefused) {
    const auto recordsOf = [](const std::string& records) {
        const ExchangeRequest request(LargeText(
            R"({"version":1,"storePath":"/s","directory":"/d","records":[)" + records + "]}"));
        return request.records().size();
    };
    const std::string good = R"({"recordType":"Tag","uuid":")" + firstId + R"("},)";
    EXPECT_EQ(recordsOf(good + "{},{},{}"), 2U);
    EXPECT_EQ(recordsOf(good + R"({"recordType":"Tag"},)" + good + "{}"), 2U);
    EXPECT_EQ(recordsOf(good + R"({"uuid":")" + firstId + R"("},)" + good + "{}"), 2U);
    EXPECT_EQ(recordsOf(R"({"deleted":true},)" + good + good + "{}"), 4U);
}

TEST(ExchangeRequest, ReadsOnBehindARecordThatIsSureToBeRefused) {
    const std::string head = R"({"version":1,"storePath":"/s","directory":"/d","records":[{},)";
    EXPECT_THROW(ExchangeRequest(LargeText(head + "{]}")), PlatformError);
    EXPECT_THROW(ExchangeRequest(LargeText(head + "5]}")), BridgeError);
}

TEST(ExchangeRequest, KeepsTheRecordsInTheirOrder) {
    RequestBuilder builder;
    for (unsigned i = 1; i <= 3; ++i) builder.record(RecordBuilder::tag(identifier(i)));
    const ExchangeRequest request(builder.text("/s", "/d"));
    ASSERT_EQ(request.records().size(), 3);
    for (unsigned i = 1; i <= 3; ++i) {
        EXPECT_EQ(request.records()[i - 1].string(RecordKey::uuid), identifier(i));
    }
}

// --- Known fingerprints
// ---------------------------------------------------------------------------

/// What a request with this "knownFingerprints" knows of the thing of identifier(10), "…0a".
std::string known(const std::string& knownFingerprints) {
    const ExchangeRequest request(
        R"({"version":1,"storePath":"/s","directory":"/d","records":[],"knownFingerprints":)" +
        knownFingerprints + "}");
    std::size_t hint = 0;
    return std::string(request.knownFingerprint(Uuid::parse(identifier(10)).value(), hint));
}

const std::string key = "\"Thing:" + identifier(10) + "\"";

TEST(KnownFingerprints, AreFoundByThingAndIdentifier) {
    EXPECT_EQ(known("{" + key + R"(:"abc"})"), "abc");
}

TEST(KnownFingerprints, AreEmptyWhenTheRequestHasNone) {
    const ExchangeRequest request(RequestBuilder().text("/s", "/d"));
    std::size_t hint = 0;
    EXPECT_EQ(request.knownFingerprint(Uuid::parse(identifier(10)).value(), hint), "");
}

TEST(KnownFingerprints, KnowNoIdentifierInUpperCase) {
    std::string upperCase = key;
    upperCase.replace(upperCase.size() - 2, 1, "A");
    EXPECT_EQ(known("{" + upperCase + R"(:"abc"})"), "");
}

TEST(KnownFingerprints, KnowNoIdentifierWithoutTheWordThing) {
    EXPECT_EQ(known("{\"" + identifier(10) + R"(":"abc"})"), "");
    EXPECT_EQ(known("{\"thing:" + identifier(10) + R"(":"abc"})"), "");
    EXPECT_EQ(known("{\"Tag:" + identifier(10) + R"(":"abc"})"), "");
}

TEST(KnownFingerprints, OfOtherThingsAreNotThisThings) {
    EXPECT_EQ(known("{\"Thing:" + identifier(11) + R"(":"abc"})"), "");
}

TEST(KnownFingerprints, OfARepeatedKeyTheLastHolds) {
    EXPECT_EQ(known("{" + key + R"(:"abc",)" + key + R"(:"def"})"), "def");
    EXPECT_EQ(known("{" + key + R"(:5,)" + key + R"(:"def"})"), "def");
}

class NoKnownFingerprints : public testing::TestWithParam<NamedText> {};

TEST_P(NoKnownFingerprints, CountAsEmpty) {
    std::string value = GetParam().json;
    if (const auto at = value.find("KEY"); at != value.npos) value.replace(at, 3, key);
    EXPECT_EQ(known(value), "");
}

constexpr NamedText noKnownFingerprints[] = {
    {"Null", "null"},
    {"Text", R"("abc")"},
    {"List", R"(["abc"])"},
    {"NumberUnderTheKey", "{KEY:5}"},
    {"NullUnderTheKey", "{KEY:null}"},
    {"NumberUnderAnotherKey", R"({KEY:"abc","other":5})"},
    {"ObjectBeforeTheKey", R"({"other":{},KEY:"abc"})"},
};
INSTANTIATE_TEST_SUITE_P(ExchangeRequest,
                         NoKnownFingerprints,
                         testing::ValuesIn(noKnownFingerprints),
                         caseName<NamedText>);

}  // namespace
}  // namespace kelto
