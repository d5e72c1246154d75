#include <atomic>

#include <simdjson.h>

#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/Utf8Scan.hpp"

namespace kelto {

namespace {

constexpr std::string_view replacementCharacter = "\uFFFD";

/// Below that, choosing the processor's widest instructions costs more than they save.
constexpr std::size_t shortText = 128;

std::atomic<bool> isSimdjsonGone = false;

/// simdjson destroys what it has chosen for this processor when the process ends, and to call that
/// ends the process with an error. Other threads may still call in then: a loop of our own does for
/// them.
struct SimdjsonsEnd {
    SimdjsonsEnd() {
        // Its objects are made before this one, and so destroyed after it.
        [[maybe_unused]] const bool isSound = simdjson::validate_utf8("", 0);
    }
    SimdjsonsEnd(const SimdjsonsEnd&) = delete;
    ~SimdjsonsEnd() { isSimdjsonGone = true; }
};

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
    static const SimdjsonsEnd end;
    if (isSimdjsonGone) return wellFormedLength(bytes) == bytes.size();
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

}  // namespace kelto
