#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/UuidTable.hpp"

namespace kelto {

/// Recognises the records of a request that stood in the last one, by their text. Records mostly
/// come in the order of the last time; where items were edited, added, removed or moved, it finds
/// its place again. A record that it misses is merely read anew.
class RecordRecognition {
public:
    /// The memory is borrowed. `isRepeated` says that the whole request is known to be the same,
    /// with all of its records remembered: then nothing is compared. Else texts are looked at for
    /// nothing for `mostInVain` bytes at most, so that a request takes a time that grows with its
    /// length and no faster, whatever its records are like.
    RecordRecognition(const RequestMemory& memory, bool isRepeated, std::size_t mostInVain)
        : memory_(memory), isRepeated_(isRepeated), mayBeInVain_(mostInVain) {}

    /// The record with whose text `rest` begins; nullptr when it is none of those expected here.
    [[nodiscard]] const SeenRecord* recognise(std::string_view rest);
    /// Says which record stood there instead of those expected.
    void foundInstead(const Uuid& identifier);

private:
    [[nodiscard]] bool stands(const SeenRecord& seen, std::string_view rest);
    [[nodiscard]] const std::uint32_t* placeOf(const Uuid& identifier);

    const RequestMemory& memory_;
    const bool isRepeated_;
    std::size_t mayBeInVain_;
    std::size_t expected_ = 0;
    std::size_t alternative_ = 0;  // where it went on before it jumped
    UuidTable<std::uint32_t> places_;
};

}  // namespace kelto
