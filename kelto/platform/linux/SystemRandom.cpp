#include "kelto/platform/linux/SystemRandom.hpp"

#include <cerrno>
#include <cstddef>
#include <span>

#include <sys/random.h>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

namespace {

void fillWithRandomBytes(std::span<std::byte> buffer) {
    while (!buffer.empty()) {
        const ssize_t count = ::getrandom(buffer.data(), buffer.size(), 0);
        if (count < 0 && errno == EINTR) continue;
        // No kernel that runs this program lacks the call, and an id that is not random would
        // sooner or later name two things.
        if (count < 0) fatalError("The system gives no random numbers");
        buffer = buffer.subspan(static_cast<std::size_t>(count));
    }
}

}  // namespace

Uuid SystemRandom::uuid() {
    Uuid uuid;
    fillWithRandomBytes(std::as_writable_bytes(std::span(uuid.bytes)));
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);  // version 4
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);  // RFC 9562 variant
    return uuid;
}

std::uint64_t SystemRandom::bits() {
    std::uint64_t bits = 0;
    fillWithRandomBytes(std::as_writable_bytes(std::span(&bits, 1)));
    return bits;
}

}  // namespace kelto
