#include <algorithm>
#include <thread>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/foundation/Sha256.hpp"

namespace kelto {
namespace {

struct KnownDigest {
    const char* name;
    std::string text;
    std::string_view digest;
};

void PrintTo(const KnownDigest& known, std::ostream* out) {
    *out << known.text.size() << " bytes";
}

class KnownDigests : public testing::TestWithParam<KnownDigest> {};

TEST_P(KnownDigests, AreComputedAtOnceAndInPieces) {
    const std::string& text = GetParam().text;
    EXPECT_EQ(sha256(text).hex(), GetParam().digest);
    EXPECT_EQ(sha256(bytesOf(text)).hex(), GetParam().digest);
    Sha256 pieces;
    for (std::size_t at = 0; at < text.size(); at += 63) {
        pieces.update(bytesOf(std::string_view(text).substr(at, 63)));
    }
    EXPECT_EQ(pieces.finish().hex(), GetParam().digest);
}

const KnownDigest knownDigests[] = {
    {"Empty", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"Abc", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"TwoBlocks",
     "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {"FourBlocks",
     "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnop"
     "qr"
     "smnopqrstnopqrstu",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
    {"AMillionTimesA",
     std::string(1'000'000, 'a'),
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
};

INSTANTIATE_TEST_SUITE_P(Sha256,
                         KnownDigests,
                         testing::ValuesIn(knownDigests),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(Sha256, IsAsNewAfterItsDigestWasTaken) {
    Sha256 hasher;
    hasher.update(bytesOf("first"));
    static_cast<void>(hasher.finish());
    hasher.update(bytesOf("abc"));
    EXPECT_EQ(hasher.finish(), sha256("abc"));
    EXPECT_EQ(hasher.finish(), sha256(""));
}

TEST(Sha256, GoesOnAfterItWasMoved) {
    Sha256 first;
    first.update(bytesOf("ab"));
    Sha256 second = std::move(first);
    second.update(bytesOf("c"));
    EXPECT_EQ(second.finish(), sha256("abc"));
}

TEST(Sha256, ServesManyThreadsAtOnce) {
    std::vector<Digest> digests(8);
    std::vector<std::thread> threads;
    threads.reserve(digests.size());
    for (Digest& digest : digests) {
        threads.emplace_back([&digest] {
            for (int i = 0; i < 1000; ++i) digest = sha256("abc");
        });
    }
    for (std::thread& thread : threads) thread.join();
    const Digest expected = sha256("abc");
    EXPECT_TRUE(std::all_of(
        digests.begin(), digests.end(), [&](const Digest& digest) { return digest == expected; }));
}

TEST(Digest, ReadsBackItsDigitsInAnyLetterCase) {
    const Digest digest = sha256("abc");
    std::string upper = digest.hex();
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
        return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    EXPECT_EQ(Digest::parse(digest.hex()), digest);
    EXPECT_EQ(Digest::parse(upper), digest);
}

TEST(Digest, IsNoneForAnythingButSixtyFourDigits) {
    const std::string digits = sha256("abc").hex();
    EXPECT_EQ(Digest::parse(""), std::nullopt);
    EXPECT_EQ(Digest::parse(digits.substr(1)), std::nullopt);
    EXPECT_EQ(Digest::parse(digits + "0"), std::nullopt);
    for (std::size_t place = 0; place < digits.size(); ++place) {
        std::string broken = digits;
        broken[place] = 'g';
        ASSERT_EQ(Digest::parse(broken), std::nullopt) << broken;
    }
}

TEST(Digest, AppendsItsDigits) {
    std::string text = "sha256-";
    Digest{}.appendHex(text);
    EXPECT_EQ(text, "sha256-" + std::string(64, '0'));
}

TEST(Digest, IsFoundAgainByItsHash) {
    std::unordered_map<Digest, int> numbers;
    for (int i = 0; i < 1000; ++i) numbers[sha256(std::to_string(i))] = i;
    ASSERT_EQ(numbers.size(), 1000U);
    EXPECT_EQ(numbers[sha256("617")], 617);
}

TEST(Digest, OfZeroBytesIsAnOrdinaryDigest) {
    EXPECT_EQ(Digest::parse(std::string(64, '0')), Digest{});
    EXPECT_LT(Digest{}, sha256(""));
}

}  // namespace
}  // namespace kelto
