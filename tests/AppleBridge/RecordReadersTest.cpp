#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/WireTimestamp.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Uuid uuid = Uuid::parse("0a1b2c3d-4e5f-4678-9abc-def012345678").value();

/// One record, read out of a request that holds it.
class OneRecord {
public:
    explicit OneRecord(const std::string& members)
        : request_(R"({"version":1,"storePath":"/s","directory":"/d","records":[{)" + members +
                   "}]}") {}
    const Record* operator->() const { return &request_.records().front(); }

private:
    ExchangeRequest request_;
};

/// A record with this JSON value under the key.
OneRecord with(RecordKey key, const std::string& json) {
    return OneRecord("\"" + std::string(recordKeyText(key)) + "\":" + json);
}

struct ReaderCase {
    const char* name;
    const char* json;
};

// Values of every kind, for readers that take none of them.
constexpr ReaderCase noTexts[] = {{"Five", "5"},
                                  {"True", "true"},
                                  {"Null", "null"},
                                  {"List", R"(["a"])"},
                                  {"Object", R"({"a":"b"})"},
                                  {"Huge", "1e400"}};

constexpr ReaderCase noNumbers[] = {{"Digits", R"("1500")"},
                                    {"True", "true"},
                                    {"False", "false"},
                                    {"Null", "null"},
                                    {"List", "[1500]"},
                                    {"Object", "{}"},
                                    {"BeyondADouble", "1e400"}};

constexpr ReaderCase noBooleans[] = {{"TextTrue", R"("true")"},
                                     {"One", "1"},
                                     {"OnePointZero", "1.0"},
                                     {"Zero", "0"},
                                     {"Null", "null"},
                                     {"False", "false"},
                                     {"List", "[true]"}};

constexpr ReaderCase noIntegers[] = {{"Half", "5.5"},
                                     {"Digits", R"("5")"},
                                     {"True", "true"},
                                     {"Null", "null"},
                                     {"OneBeyond64Bits", "9223372036854775808"},
                                     {"OneBelow64Bits", "-9223372036854775809"},
                                     {"LargeExponent", "1e30"},
                                     {"BeyondADouble", "1e400"}};

// --- Texts
// ----------------------------------------------------------------------------------------

TEST(StringReader, GivesTheText) {
    EXPECT_EQ(with(RecordKey::title, R"("a\u00e9\ud83d\ude00")")->string(RecordKey::title), "aé😀");
}

TEST(StringReader, KeepsNulCharacters) {
    EXPECT_EQ(with(RecordKey::title, R"("a\u0000b")")->string(RecordKey::title),
              std::string_view("a\0b", 3));
}

TEST(StringReader, IsEmptyWhenTheKeyIsAbsent) {
    EXPECT_EQ(OneRecord("")->string(RecordKey::title), "");
    EXPECT_EQ(OneRecord("")->optionalString(RecordKey::title), std::nullopt);
}

TEST(StringReader, TellsAnEmptyTextFromNone) {
    EXPECT_EQ(with(RecordKey::title, R"("")")->optionalString(RecordKey::title), "");
}

TEST(StringReader, TakesTheLastOfARepeatedKey) {
    EXPECT_EQ(OneRecord(R"("title":"a","title":"b")")->string(RecordKey::title), "b");
    EXPECT_EQ(OneRecord(R"("title":"a","title":5)")->string(RecordKey::title), "");
}

TEST(StringReader, TellsKeysByLetterCase) {
    EXPECT_EQ(OneRecord(R"("Title":"a","metadataJSON":"b")")->string(RecordKey::title), "");
    EXPECT_EQ(OneRecord(R"("metadataJSON":"b")")->string(RecordKey::metadataJson), "");
}

class NoText : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoText, ReadsAsTheEmptyText) {
    const OneRecord record = with(RecordKey::title, GetParam().json);
    EXPECT_EQ(record->string(RecordKey::title), "");
    EXPECT_EQ(record->optionalString(RecordKey::title), std::nullopt);
}
INSTANTIATE_TEST_SUITE_P(Readers, NoText, testing::ValuesIn(noTexts), caseName<ReaderCase>);

// --- Moments
// --------------------------------------------------------------------------------------

struct MomentCase {
    const char* name;
    const char* json;
    double seconds;
};

class Moment : public testing::TestWithParam<MomentCase> {};

TEST_P(Moment, IsReadFromMilliseconds) {
    const OneRecord record = with(RecordKey::trashedAt, GetParam().json);
    EXPECT_EQ(record->date(RecordKey::trashedAt), Date{GetParam().seconds});
    EXPECT_EQ(record->optionalDate(RecordKey::trashedAt), Date{GetParam().seconds});
}

constexpr MomentCase moments[] = {{"Whole", "1500", 1.5},
                                  {"Fraction", "62.5", 0.0625},
                                  {"Negative", "-62.5", -0.0625},
                                  {"Exponent", "15e2", 1.5},
                                  {"Zero", "0", 0},
                                  {"BeyondExactDoubles", "9007199254740993", 9007199254740.992},
                                  {"Beyond64Bits", "1e19", 1e16},
                                  {"TooSmall", "1e-400", 0}};
INSTANTIATE_TEST_SUITE_P(Readers, Moment, testing::ValuesIn(moments), caseName<MomentCase>);

TEST(DateReader, Is1970WhenTheKeyIsAbsent) {
    EXPECT_EQ(OneRecord("")->date(RecordKey::createdAt), Date{0});
    EXPECT_EQ(OneRecord("")->optionalDate(RecordKey::createdAt), std::nullopt);
}

class NoMoment : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoMoment, ReadsAs1970) {
    const OneRecord record = with(RecordKey::trashedAt, GetParam().json);
    EXPECT_EQ(record->date(RecordKey::trashedAt), Date{0});
    EXPECT_EQ(record->optionalDate(RecordKey::trashedAt), std::nullopt);
}
INSTANTIATE_TEST_SUITE_P(Readers, NoMoment, testing::ValuesIn(noNumbers), caseName<ReaderCase>);

// --- Numbers, integers, booleans
// ------------------------------------------------------------------

TEST(NumberReader, GivesTheNumber) {
    EXPECT_EQ(with(RecordKey::aspectRatio, "0.77")->number(RecordKey::aspectRatio, 1.0), 0.77);
    EXPECT_EQ(with(RecordKey::aspectRatio, "2")->number(RecordKey::aspectRatio, 1.0), 2.0);
    EXPECT_EQ(with(RecordKey::aspectRatio, "0")->number(RecordKey::aspectRatio, 1.0), 0.0);
    EXPECT_EQ(with(RecordKey::aspectRatio, "1e30")->number(RecordKey::aspectRatio, 1.0), 1e30);
}

class NoNumber : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoNumber, ReadsAsTheGivenDefault) {
    EXPECT_EQ(with(RecordKey::aspectRatio, GetParam().json)->number(RecordKey::aspectRatio, 1.0),
              1.0);
}
INSTANTIATE_TEST_SUITE_P(Readers, NoNumber, testing::ValuesIn(noNumbers), caseName<ReaderCase>);

struct IntegerCase {
    const char* name;
    const char* json;
    std::int64_t value;
};

class Integer : public testing::TestWithParam<IntegerCase> {};

TEST_P(Integer, IsAnyIntegralNumberOf64Bits) {
    EXPECT_EQ(with(RecordKey::fileSize, GetParam().json)->integer(RecordKey::fileSize),
              GetParam().value);
}

constexpr IntegerCase integers[] = {
    {"Five", "5", 5},
    {"FivePointZero", "5.0", 5},
    {"FiveWithExponent", "5e0", 5},
    {"Negative", "-5", -5},
    {"Largest", "9223372036854775807", std::numeric_limits<std::int64_t>::max()},
    {"Smallest", "-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
    {"BeyondExactDoubles", "9007199254740993", 9007199254740993},
};
INSTANTIATE_TEST_SUITE_P(Readers, Integer, testing::ValuesIn(integers), caseName<IntegerCase>);

class NoInteger : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoInteger, ReadsAsZero) {
    EXPECT_EQ(with(RecordKey::fileSize, GetParam().json)->integer(RecordKey::fileSize), 0);
}
INSTANTIATE_TEST_SUITE_P(Readers, NoInteger, testing::ValuesIn(noIntegers), caseName<ReaderCase>);

TEST(BooleanReader, IsTrueForTrueOnly) {
    EXPECT_TRUE(with(RecordKey::deleted, "true")->boolean(RecordKey::deleted));
    EXPECT_FALSE(OneRecord("")->boolean(RecordKey::deleted));
}

class NoTrue : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoTrue, ReadsAsFalse) {
    EXPECT_FALSE(with(RecordKey::isStarred, GetParam().json)->boolean(RecordKey::isStarred));
}
INSTANTIATE_TEST_SUITE_P(Readers, NoTrue, testing::ValuesIn(noBooleans), caseName<ReaderCase>);

// --- Identifiers
// ----------------------------------------------------------------------------------

TEST(UuidReader, AcceptsAnyLetterCase) {
    for (const std::string& text : {uuid.lowerCaseText(),
                                    uuid.upperCaseText(),
                                    std::string(uuid.upperCaseText()).replace(0, 8, "0A1b2C3d")}) {
        EXPECT_EQ(with(RecordKey::parent, "\"" + text + "\"")->optionalUUID(RecordKey::parent),
                  uuid);
    }
}

class NoUuid : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoUuid, ReadsAsNone) {
    EXPECT_EQ(with(RecordKey::parent, GetParam().json)->optionalUUID(RecordKey::parent),
              std::nullopt);
}

constexpr ReaderCase noUuids[] = {
    {"Empty", R"("")"},
    {"WithoutHyphens", R"("0a1b2c3d4e5f46789abcdef012345678")"},
    {"InBraces", R"("{0a1b2c3d-4e5f-4678-9abc-def012345678}")"},
    {"BlankBehind", R"("0a1b2c3d-4e5f-4678-9abc-def012345678 ")"},
    {"NulBehind", R"("0a1b2c3d-4e5f-4678-9abc-def012345678\u0000")"},
    {"NoDigit", R"("0a1b2c3d-4e5f-4678-9abc-def01234567g")"},
    {"HyphensElsewhere", R"("0a1b2c3-d4e5f-4678-9abc-def012345678")"},
    {"Number", "5"},
    {"Null", "null"},
    {"List", R"(["0a1b2c3d-4e5f-4678-9abc-def012345678"])"},
};
INSTANTIATE_TEST_SUITE_P(Readers, NoUuid, testing::ValuesIn(noUuids), caseName<ReaderCase>);

TEST(IdentifiersReader, KeepsTheOrderAndDropsWhatIsNoIdentifier) {
    const OneRecord record = with(RecordKey::tags,
                                  R"(["ffffffff-0000-4000-8000-000000000000","nonsense",5,null,)"
                                  R"([],{"a":1},"0A1B2C3D-4E5F-4678-9ABC-DEF012345678"])");
    EXPECT_THAT(record->identifiers(RecordKey::tags),
                ElementsAre(Uuid::parse("ffffffff-0000-4000-8000-000000000000").value(), uuid));
}

class NoList : public testing::TestWithParam<ReaderCase> {};

TEST_P(NoList, ReadsAsNoIdentifiers) {
    EXPECT_THAT(with(RecordKey::tags, GetParam().json)->identifiers(RecordKey::tags), IsEmpty());
}

constexpr ReaderCase noLists[] = {{"Text", R"("0a1b2c3d-4e5f-4678-9abc-def012345678")"},
                                  {"Object", R"({"0":"0a1b2c3d-4e5f-4678-9abc-def012345678"})"},
                                  {"Null", "null"},
                                  {"EmptyList", "[]"}};
INSTANTIATE_TEST_SUITE_P(Readers, NoList, testing::ValuesIn(noLists), caseName<ReaderCase>);

TEST(IdentifiersReader, IsEmptyWhenTheKeyIsAbsent) {
    EXPECT_THAT(OneRecord("")->identifiers(RecordKey::tags), IsEmpty());
}

// --- The writer of the common keys
// ----------------------------------------------------------------

TEST(Base, HoldsTypeIdentifierInLowerCaseAndCreation) {
    TextBuffer text;
    base(text, "Project", Uuid::parse("0A1B2C3D-4E5F-4678-9ABC-DEF012345678").value(), Date{1.5})
        .close();
    EXPECT_EQ(text.view(),
              R"({"recordType":"Project","uuid":"0a1b2c3d-4e5f-4678-9abc-def012345678",)"
              R"("createdAt":1500})");
}

TEST(WireTimestamp, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(wireTimestamp(Date{0.0625}), 63);
    EXPECT_EQ(wireTimestamp(Date{-0.0625}), -63);
}

struct UnrepresentableCase {
    const char* name;
    double seconds;
};

class UnrepresentableMoment : public testing::TestWithParam<UnrepresentableCase> {};

TEST_P(UnrepresentableMoment, StopsTheProcessNamingThePlace) {
    EXPECT_DEATH((void)wireTimestamp(Date{GetParam().seconds}), "kelto/AppleBridge:[0-9]+");
}

constexpr UnrepresentableCase unrepresentableMoments[] = {
    {"NotANumber", std::numeric_limits<double>::quiet_NaN()},
    {"Infinite", std::numeric_limits<double>::infinity()},
    {"MinusInfinite", -std::numeric_limits<double>::infinity()},
    {"Beyond64Bits", 9223372036854775.808},
    {"Below64Bits", -9223372036854777.856},
};
INSTANTIATE_TEST_SUITE_P(Writers,
                         UnrepresentableMoment,
                         testing::ValuesIn(unrepresentableMoments),
                         caseName<UnrepresentableCase>);

}  // namespace
}  // namespace kelto
