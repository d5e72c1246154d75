#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "kelto/foundation/LargeText.hpp"

namespace kelto {
namespace {

TEST(LargeText, EndsWithANulThatDoesNotCount) {
    for (const std::size_t size : {0U, 1U, 300'000U, 5'000'000U}) {
        const LargeText text(std::string(size, 'a'));
        EXPECT_EQ(text.size(), size);
        EXPECT_EQ(text.cString()[size], '\0');
        EXPECT_EQ(text.view().size(), size);
    }
}

TEST(LargeText, SharesItsBytesWithItsCopies) {
    const LargeText text("shared");
    const LargeText copy = text;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.cString(), text.cString());
}

TEST(LargeText, GivesItsMemoryToItsOnlyOwner) {
    LargeText text("alone");
    const char* const place = text.cString();
    const auto memory = text.release();
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->view(), "alone");
    EXPECT_EQ(memory->view().data(), place);
}

TEST(LargeText, KeepsItsMemoryWhileSomebodyElseHasIt) {
    LargeText text("shared");
    const LargeText copy = text;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_FALSE(text.release());
    EXPECT_EQ(text.view(), "shared") << "nothing has happened";
    EXPECT_EQ(copy.view(), "shared");
}

TEST(LargeText, HasTheNumberThatItWasGiven) {
    TextBuffer buffer;
    buffer.append("text");
    const LargeText text(std::move(buffer), 7);
    EXPECT_EQ(text.number(), 7);
    EXPECT_EQ(LargeText(text).number(), 7);
    EXPECT_EQ(LargeText("text").number(), 0) << "nobody knows";
}

}  // namespace
}  // namespace kelto
