#include <simdjson.h>

#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Utf8Scan.hpp"

namespace kelto {

namespace {

constexpr std::string_view replacementCharacter = "\uFFFD";

/// Below that, choosing the processor's widest instructions costs more than they save.
constexpr std::size_t shortText = 128;

}  // namespace

std::string repairedUtf8(std::string_view bytes) {
    std::size_t sound = wellFormedLength(bytes);
    std::string repaired(bytes.substr(0, sound));
    while (sound < bytes.size()) {
        bytes.remove_prefix(sound);
        repaired += replacementCharacter;
        bytes.remove_prefix(firstUtf8Sequence(bytes).length);
        sound = wellFormedLength(bytes);
        repaired += bytes.substr(0, sound);
    }
    return repaired;
}

bool isWellFormedUtf8(std::string_view bytes) {
    if (bytes.size() < shortText) return wellFormedLength(bytes) == bytes.size();
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

}  // namespace kelto
