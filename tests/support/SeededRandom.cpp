#include "tests/support/SeededRandom.hpp"

namespace kelto {

Uuid SeededRandom::uuid() {
    Uuid uuid;
    const std::uint64_t halves[] = {engine_(), engine_()};
    std::memcpy(uuid.bytes.data(), halves, sizeof halves);
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);
    return uuid;
}

}  // namespace kelto
