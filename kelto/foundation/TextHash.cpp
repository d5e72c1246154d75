#include "kelto/foundation/TextHash.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

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
    static const Keys keys = randomKeys();  // nothing to destroy: threads may outlive it
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

/// Hashes the sums of blocks in turn, and the sums of those: at each level at most a block of them
/// waits to be hashed.
class SumTree {
public:
    void add(const Sum& sum, std::size_t level = 0) {
        Level& waiting = levels_[level];
        if (waiting.bytes == blockBytes) {
            add(hashed(level), level + 1);
            waiting.bytes = 0;
        }
        std::memcpy(waiting.sums.data() + waiting.bytes, &sum, sizeof sum);
        waiting.bytes += sizeof sum;
    }

    [[nodiscard]] Sum root() {
        std::size_t level = 0;
        for (; level + 1 < levels_.size() && levels_[level + 1].bytes > 0; ++level) {
            add(hashed(level), level + 1);
        }
        return hashed(level);
    }

private:
    struct Level {
        std::array<char, blockBytes> sums{};
        std::size_t bytes = 0;
    };

    /// The first key is that of the text itself.
    [[nodiscard]] Sum hashed(std::size_t level) const {
        return sumOf({levels_[level].sums.data(), levels_[level].bytes}, secretKey(level + 1));
    }

    std::array<Level, mostLevels - 1> levels_;
};

Sum sumOfLong(std::string_view text) {
    SumTree sums;
    for (; text.size() > blockBytes; text.remove_prefix(blockBytes)) {
        sums.add(sumOf(text.substr(0, blockBytes), secretKey(0)));
    }
    sums.add(sumOf(text, secretKey(0)));
    return sums.root();
}

}  // namespace

TextHash TextHash::of(std::string_view text) noexcept {
    const Sum sum = text.size() <= blockBytes ? sumOf(text, secretKey(0)) : sumOfLong(text);
    return {static_cast<std::uint64_t>(sum), static_cast<std::uint64_t>(sum >> 64U)};
}

}  // namespace kelto
