#include <algorithm>
#include <random>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/foundation/Uuid.hpp"

namespace kelto {
namespace {

constexpr std::string_view sample = "0f8fad5b-d9cb-469f-a165-70867728950e";
constexpr std::array<std::uint8_t, 16> sampleBytes = {
    0x0F, 0x8F, 0xAD, 0x5B, 0xD9, 0xCB, 0x46, 0x9F, 0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E};

TEST(Uuid, ReadsTheHyphenatedForm) {
    const auto uuid = Uuid::parse(sample);
    ASSERT_TRUE(uuid.has_value());
    EXPECT_EQ(uuid->bytes, sampleBytes);
}

TEST(Uuid, ReadsEveryLetterCase) {
    EXPECT_EQ(Uuid::parse("0F8FAD5B-D9CB-469F-A165-70867728950E"), Uuid{sampleBytes});
    EXPECT_EQ(Uuid::parse("0f8FAd5B-D9cb-469F-a165-70867728950e"), Uuid{sampleBytes});
}

TEST(Uuid, ReadsTheNilIdentifier) {
    EXPECT_EQ(Uuid::parse("00000000-0000-0000-0000-000000000000"), Uuid{});
}

TEST(Uuid, PrintsBothLetterCases) {
    EXPECT_EQ(Uuid{sampleBytes}.lowerCaseText(), "0f8fad5b-d9cb-469f-a165-70867728950e");
    EXPECT_EQ(Uuid{sampleBytes}.upperCaseText(), "0F8FAD5B-D9CB-469F-A165-70867728950E");
}

TEST(Uuid, AppendsItsText) {
    std::string text = "Thing:";
    Uuid{sampleBytes}.appendLowerCase(text);
    EXPECT_EQ(text, "Thing:0f8fad5b-d9cb-469f-a165-70867728950e");
}

struct Malformed {
    const char* name;
    std::string_view text;
};

void PrintTo(const Malformed& malformed, std::ostream* out) {
    *out << malformed.text;
}

class MalformedUuids : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedUuids, AreNone) {
    EXPECT_EQ(Uuid::parse(GetParam().text), std::nullopt);
}

constexpr Malformed malformedUuids[] = {
    {"Empty", ""},
    {"NoHyphens", "0f8fad5bd9cb469fa16570867728950e"},
    {"NoHyphensButLongEnough", "0f8fad5bd9cb469fa16570867728950e0000"},
    {"Braces", "{0f8fad5b-d9cb-469f-a165-70867728950e}"},
    {"UrnPrefix", "urn:uuid:0f8fad5b-d9cb-469f-a165-70867728950e"},
    {"BlankInFront", " 0f8fad5b-d9cb-469f-a165-70867728950e"},
    {"BlankAtTheEnd", "0f8fad5b-d9cb-469f-a165-70867728950e "},
    {"OneDigitShort", "0f8fad5b-d9cb-469f-a165-70867728950"},
    {"OneDigitLong", "0f8fad5b-d9cb-469f-a165-70867728950e0"},
    {"HyphenMoved", "0f8fad5-bd9cb-469f-a165-70867728950e"},
    {"HyphenInAPair", "0f8fad5b-d9cb-469f-a165-7086772895-e"},
    {"BlankInAPair", "0f8fad5b-d9cb-469f-a165-70867728950 "},
    {"SignInAPair", "+f8fad5b-d9cb-469f-a165-70867728950e"},
    {"HexPrefixInAPair", "0x8fad5b-d9cb-469f-a165-70867728950e"},
    {"LetterBeyondF", "0f8fad5b-d9cb-469f-a165-70867728950g"},
    {"AtSign", "0f8fad5b-d9cb-469f-a165-70867728950@"},
    {"Colon", "0f8fad5b-d9cb-469f-a165-70867728950:"},
    {"NulByte", {"0f8fad5b-d9cb-469f-a165-7086772895\0e", 36}},
    {"TextAfterNul", {"0f8fad5b-d9cb-469f-a165-70867728950e\0x", 38}},
    {"FullWidthDigits", "０f8fad5b-d9cb-469f-a165-70867728950"},
};

INSTANTIATE_TEST_SUITE_P(Uuid,
                         MalformedUuids,
                         testing::ValuesIn(malformedUuids),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(Uuid, AcceptsExactlyTheHexadecimalDigitsAtEveryPlace) {
    for (std::size_t place = 0; place < sample.size(); ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string text(sample);
            text[place] = static_cast<char>(byte);
            const bool digit =
                byte != 0 && std::string_view("0123456789abcdefABCDEF").find(text[place]) !=
                                 std::string_view::npos;
            const bool wellFormed = sample[place] == '-' ? byte == '-' : digit;
            ASSERT_EQ(Uuid::parse(text).has_value(), wellFormed) << text;
        }
    }
}

std::vector<Uuid> randomUuids(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Uuid> uuids(count);
    for (Uuid& uuid : uuids) {
        for (auto& byte : uuid.bytes) byte = static_cast<std::uint8_t>(random());
    }
    return uuids;
}

TEST(Uuid, ReadsBackWhatItPrints) {
    for (const Uuid& uuid : randomUuids(1000, 1)) {
        ASSERT_EQ(Uuid::parse(uuid.lowerCaseText()), uuid);
        ASSERT_EQ(Uuid::parse(uuid.upperCaseText()), uuid);
    }
}

TEST(Uuid, IsOrderedLikeItsLowerCaseText) {
    std::vector<Uuid> uuids = randomUuids(500, 2);
    std::sort(uuids.begin(), uuids.end());
    EXPECT_TRUE(std::is_sorted(uuids.begin(), uuids.end(), [](const Uuid& left, const Uuid& right) {
        return left.lowerCaseText() < right.lowerCaseText();
    }));
}

TEST(Uuid, HashesIdentifiersThatDifferInOnePlaceApart) {
    constexpr std::size_t count = 4096;
    for (std::size_t place = 0; place + 1 < sizeof(Uuid::bytes); ++place) {
        std::unordered_set<std::size_t> buckets;
        for (std::size_t i = 0; i < count; ++i) {
            Uuid uuid{sampleBytes};
            uuid.bytes[place] = static_cast<std::uint8_t>(i >> 8);
            uuid.bytes[place + 1] = static_cast<std::uint8_t>(i);
            buckets.insert(std::hash<Uuid>()(uuid) % count);
        }
        EXPECT_GT(buckets.size(), count / 2) << place;  // at random about 63 of 100 are hit
    }
}

}  // namespace
}  // namespace kelto
