#include <set>

#include <gtest/gtest.h>

#include "kelto/platform/linux/SystemRandom.hpp"

namespace kelto {
namespace {

TEST(SystemRandom, MakesUuidsOfVersionFour) {
    SystemRandom random;
    for (int i = 0; i < 100; ++i) {
        const Uuid uuid = random.uuid();
        EXPECT_EQ(uuid.bytes[6] & 0xF0, 0x40) << uuid.lowerCaseText();
        EXPECT_EQ(uuid.bytes[8] & 0xC0, 0x80) << uuid.lowerCaseText();
    }
}

TEST(SystemRandom, NeverRepeatsItself) {
    SystemRandom random;
    std::set<Uuid> uuids;
    std::set<std::uint64_t> bits;
    for (int i = 0; i < 1'000; ++i) {
        uuids.insert(random.uuid());
        bits.insert(random.bits());
    }
    EXPECT_EQ(uuids.size(), 1'000U);
    EXPECT_EQ(bits.size(), 1'000U);
}

TEST(SystemRandom, LeavesNoOtherBitOfAUuidFixed) {
    SystemRandom random;
    Uuid everSet;
    Uuid everClear;
    for (int i = 0; i < 200; ++i) {
        const Uuid uuid = random.uuid();
        for (std::size_t byte = 0; byte < uuid.bytes.size(); ++byte) {
            everSet.bytes[byte] = static_cast<std::uint8_t>(everSet.bytes[byte] | uuid.bytes[byte]);
            everClear.bytes[byte] =
                static_cast<std::uint8_t>(everClear.bytes[byte] | ~uuid.bytes[byte]);
        }
    }
    EXPECT_EQ(everSet.lowerCaseText(), "ffffffff-ffff-4fff-bfff-ffffffffffff");
    EXPECT_EQ(everClear.lowerCaseText(), "ffffffff-ffff-bfff-7fff-ffffffffffff");
}

}  // namespace
}  // namespace kelto
