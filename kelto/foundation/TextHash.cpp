#include "kelto/foundation/TextHash.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include <sys/random.h>

#include "kelto/foundation/FatalError.hpp"

namespace kelto {

namespace {

__extension__ using Sum = unsigned __int128;

constexpr std::size_t wordBytes = sizeof(std::uint64_t);
constexpr std::size_t blockBytes = 1024;
/// How often a text of 2^64 bytes can be made 64 times shorter before it fits into a block.
constexpr std::size_t mostLevels = 10;

using Key = std::array<std::uint64_t, blockBytes / wordBytes>;

/// One for each time that sums are hashed in turn.
using Keys = std::array<Key, mostLevels>;

Keys randomKeys() {
    Keys keys{};
    auto* const bytes = reinterpret_cast<char*>(keys.data());
    for (std::size_t filled = 0; filled < sizeof keys;) {
        const ssize_t more = ::getrandom(bytes + filled, sizeof keys - filled, 0);
        if (more < 0 && errno != EINTR) fatalError("the system gives no random bytes");
        if (more > 0) filled += static_cast<std::size_t>(more);
    }
    return keys;
}

const Key& secretKey(std::size_t level) {
    // Never destroyed: threads may outlive static objects.
    static const auto& keys = *new Keys(randomKeys());
    return keys[level];
}

std::uint64_t wordAt(const char* place) {
    std::uint64_t word = 0;
    std::memcpy(&word, place, wordBytes);
    return word;
}

Sum product(const char* words, const std::uint64_t* key) {
    return Sum{wordAt(words) + key[0]} * (wordAt(words + wordBytes) + key[1]);
}

/// Of at most a block; what is missing of the last two words counts as zeros.
Sum sumOf(std::string_view block, const Key& key) {
    constexpr std::size_t bytesOfTwo = 2 * wordBytes;
    Sum sum = 0;
    std::size_t at = 0;
    for (; block.size() - at >= bytesOfTwo; at += bytesOfTwo) {
        sum += product(block.data() + at, key.data() + at / wordBytes);
    }
    if (at < block.size()) {
        std::array<char, bytesOfTwo> rest{};
        std::memcpy(rest.data(), block.data() + at, block.size() - at);
        sum += product(rest.data(), key.data() + at / wordBytes);
    }
    return sum;
}

/// The sums of all blocks, one after the other.
std::string sumsOf(std::string_view text, const Key& key) {
    std::string sums((text.size() + blockBytes - 1) / blockBytes * sizeof(Sum), '\0');
    for (std::size_t block = 0; block * blockBytes < text.size(); ++block) {
        const Sum sum = sumOf(text.substr(block * blockBytes, blockBytes), key);
        std::memcpy(sums.data() + block * sizeof sum, &sum, sizeof sum);
    }
    return sums;
}

}  // namespace

TextHash TextHash::of(std::string_view text) {
    std::size_t level = 0;
    std::string sums;
    for (; text.size() > blockBytes; text = sums) sums = sumsOf(text, secretKey(level++));
    const Sum sum = sumOf(text, secretKey(level));
    return {static_cast<std::uint64_t>(sum), static_cast<std::uint64_t>(sum >> 64U)};
}

}  // namespace kelto
