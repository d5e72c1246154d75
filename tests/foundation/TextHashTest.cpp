#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "kelto/foundation/TextHash.hpp"

namespace kelto {
namespace {

std::string textOf(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 131 + i / 251);
    return text;
}

/// Sizes around those of words, blocks, and blocks of blocks.
class TextHashes : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(OfSize,
                         TextHashes,
                         testing::Values(0,
                                         1,
                                         7,
                                         8,
                                         15,
                                         16,
                                         17,
                                         1023,
                                         1024,
                                         1025,
                                         1040,
                                         2048,
                                         65'535,
                                         65'536,
                                         65'537,
                                         3'000'000,
                                         4'194'305));

TEST_P(TextHashes, AreTheSameForTheSameText) {
    const std::string text = textOf(GetParam());
    const std::string moved = "x" + text;  // at another place of the memory
    EXPECT_EQ(TextHash::of(text), TextHash::of(text));
    EXPECT_EQ(TextHash::of(text), TextHash::of(std::string_view(moved).substr(1)));
}

TEST_P(TextHashes, DifferByAnyByte) {
    const std::string text = textOf(GetParam());
    const TextHash hash = TextHash::of(text);
    // Every byte of what is short, some 200 of what is long, among them the last.
    const std::size_t step = std::max<std::size_t>(1, text.size() / 200);
    for (std::size_t back = 0; back < text.size(); back += step) {
        std::string other = text;
        char& changed = other[text.size() - 1 - back];
        changed = static_cast<char>(changed ^ (1 << (back % 8)));
        ASSERT_NE(TextHash::of(other), hash) << "byte " << text.size() - 1 - back;
    }
}

TEST(TextHash, KnowsTheOrderOfWordsAndBlocks) {
    for (const std::size_t size : {8U, 16U, 1024U, 65'536U}) {
        const std::string text = textOf(2 * size);
        const std::string swapped = text.substr(size) + text.substr(0, size);
        EXPECT_NE(TextHash::of(text), TextHash::of(swapped)) << size;
    }
}

TEST(TextHash, OfManyTextsThatDifferLittleIsNeverTheSame) {
    std::set<std::pair<std::uint64_t, std::uint64_t>> hashes;
    for (int i = 0; i < 20'000; ++i) {
        std::string text = "0000000000000000000000000000000000000000";
        const std::string number = std::to_string(i);
        text.replace(text.size() - number.size(), number.size(), number);
        const TextHash hash = TextHash::of(text);
        EXPECT_TRUE(hashes.insert({hash.low, hash.high}).second) << i;
    }
}

}  // namespace
}  // namespace kelto
