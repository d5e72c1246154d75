#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/RequestIntake.hpp"

namespace kelto {
namespace {

constexpr std::size_t pieceBytes = std::size_t{256} * 1024;
constexpr std::string_view replacement = "\xEF\xBF\xBD";

class RequestIntakes : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(
    OfSize,
    RequestIntakes,
    testing::Values(0, 1, pieceBytes - 1, pieceBytes, pieceBytes + 1, 8 * pieceBytes, 3'000'001));

TEST_P(RequestIntakes, CopyTheRequestEachTime) {
    RequestIntake intake;
    const std::string request(GetParam(), 'a');
    for (int i = 0; i < 3; ++i) {
        const LargeText text = intake.take(request);
        EXPECT_TRUE(text.view() == request);
        EXPECT_NE(text.cString(), request.data());
    }
}

TEST_P(RequestIntakes, KnowTheLastRequestWhenItComesAgain) {
    RequestIntake intake;
    const std::string request(GetParam(), 'a');
    const std::uint64_t number = intake.take(request).number();
    EXPECT_NE(number, 0);
    EXPECT_EQ(intake.take(request).number(), number);
    EXPECT_NE(intake.take(request + " ").number(), number);
    EXPECT_NE(intake.take(request).number(), number) << "no longer the last one";
    EXPECT_NE(RequestIntake().take(request).number(), number) << "another host's";
}

TEST(RequestIntake, TellsARequestThatDiffersInOneByte) {
    RequestIntake intake;
    const std::string request(3'000'000, 'a');
    for (const std::size_t place : {0U, 262'143U, 262'144U, 1'500'000U, 2'999'999U}) {
        const std::uint64_t number = intake.take(request).number();
        std::string other = request;
        other[place] = 'b';
        const LargeText text = intake.take(other);
        EXPECT_NE(text.number(), number) << place;
        EXPECT_TRUE(text.view() == other) << place;
    }
}

TEST(RequestIntake, RepairsWhatHasBecomeMalformedSinceTheLastRequest) {
    RequestIntake intake;
    const std::string sound(3'000'000, 'a');
    (void)intake.take(sound);
    for (const std::size_t place : {0U, 262'143U, 262'144U, 1'500'000U, 2'999'999U}) {
        std::string malformed = sound;
        malformed[place] = '\xFF';
        std::string repaired = sound;
        repaired.replace(place, 1, replacement);
        for (int i = 0; i < 2; ++i) {  // and does not take it for sound the next time
            const LargeText text = intake.take(malformed);
            EXPECT_TRUE(text.view() == repaired) << place;
            EXPECT_EQ(text.number(), 0) << "it is not the text that came";
        }
        EXPECT_TRUE(intake.take(sound).view() == sound);
    }
}

TEST(RequestIntake, CutsNoCharacterBetweenTwoPieces) {
    RequestIntake intake;
    // Characters of one to four bytes, of which each lies across the end of a piece at some shift.
    for (const std::string_view character : {"a", "é", "語", "😀"}) {
        for (std::size_t shift = 0; shift < character.size(); ++shift) {
            std::string request(shift, ' ');
            while (request.size() < 6 * pieceBytes) request += character;
            EXPECT_TRUE(intake.take(request).view() == request) << character << shift;
            EXPECT_TRUE(intake.take(request).view() == request) << character << shift;
        }
    }
}

TEST(RequestIntake, NoticesACharacterThatLosesItsEndBehindTheEndOfAPiece) {
    RequestIntake intake;
    std::string request(pieceBytes - 1, 'a');
    request += "é" + std::string(5 * pieceBytes, 'b');
    EXPECT_TRUE(intake.take(request).view() == request);
    request[pieceBytes] = 'b';  // the second byte of the character, in the second piece
    const std::string repaired = std::string(pieceBytes - 1, 'a') + std::string(replacement) +
                                 std::string(5 * pieceBytes + 1, 'b');
    EXPECT_TRUE(intake.take(request).view() == repaired);
}

}  // namespace
}  // namespace kelto
