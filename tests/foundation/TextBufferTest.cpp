#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/TextBuffer.hpp"

namespace kelto {
namespace {

/// Long enough to lie in memory of its own.
const std::string longText(3 * LargeMemory::usualBytes, 'x');

TEST(TextBuffer, BeginsEmpty) {
    EXPECT_EQ(TextBuffer().view(), "");
}

TEST(TextBuffer, HoldsWhatWasAppended) {
    TextBuffer text;
    text.append("one");
    text.append(',');
    text.append("");
    text.append("two");
    EXPECT_EQ(text.view(), "one,two");
}

TEST(TextBuffer, HoldsWhatWasWrittenIntoItsRoom) {
    TextBuffer text;
    char* const to = text.room(10);
    to[0] = 'a';
    to[1] = 'b';
    text.commit(to + 2);
    EXPECT_EQ(text.view(), "ab");
}

TEST(TextBuffer, KeepsItsTextWhenItGrows) {
    TextBuffer text;
    std::string expected;
    for (int i = 0; i < 200'000; ++i) {
        const std::string piece = std::to_string(i) + ' ';
        text.append(piece);
        expected += piece;
    }
    text.append(longText);
    expected += longText;
    EXPECT_TRUE(text.view() == expected);
}

TEST(TextBuffer, MovesWithItsText) {
    TextBuffer text;
    text.append(longText);
    const char* const place = text.view().data();
    TextBuffer moved = std::move(text);
    EXPECT_EQ(moved.view().data(), place);
    TextBuffer assigned;
    assigned.append("before");
    assigned = std::move(moved);
    EXPECT_TRUE(assigned.view() == longText);
}

TEST(TextBuffer, CanBeUsedAgain) {
    TextBuffer text;
    text.append("first");
    text.clear();
    text.append("2");
    EXPECT_EQ(text.view(), "2");
}

TEST(LargeText, SharesItsBytesWithItsCopies) {
    std::optional<LargeText> text(std::string(1000, 'a'));
    const LargeText copy = *text;
    EXPECT_EQ(copy.cString(), text->cString());
    text.reset();
    EXPECT_EQ(copy.view(), std::string(1000, 'a'));
}

TEST(LargeText, EndsWithANulThatDoesNotCount) {
    const LargeText text("abc");
    EXPECT_EQ(text.view(), "abc");
    EXPECT_EQ(text.size(), 3);
    EXPECT_STREQ(text.cString(), "abc");
    EXPECT_STREQ(LargeText("").cString(), "");
}

TEST(LargeText, KeepsNulsInside) {
    const LargeText text(std::string("a\0b", 3));
    EXPECT_EQ(text.view(), std::string_view("a\0b", 3));
}

TEST(LargeText, StaysInItsPlaceWhenItIsMoved) {
    for (const std::string& content : {std::string("short"), longText}) {
        LargeText text(content);
        const char* const place = text.cString();
        const LargeText moved = std::move(text);
        EXPECT_EQ(moved.cString(), place);
        EXPECT_TRUE(moved.view() == content);
    }
}

TEST(LargeMemory, BeginsAtAWholeLargePage) {
    const LargeMemory memory(LargeMemory::usualBytes + 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory.start()) % LargeMemory::usualBytes, 0);
    EXPECT_EQ(memory.size(), 2 * LargeMemory::usualBytes);
    static_cast<char*>(memory.start())[memory.size() - 1] = 'x';
}

}  // namespace
}  // namespace kelto
