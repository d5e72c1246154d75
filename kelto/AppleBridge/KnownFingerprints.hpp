#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/UuidTable.hpp"

namespace kelto {

/// The "knownFingerprints" of a request: for each thing the "fingerprint" that the host says it
/// last received. Values are found by their place in the member's own text, so that what was read
/// from one request serves the next one with the same text.
class KnownFingerprints {
public:
    /// Reads the value that stands next, whatever it is; one that is no object of texts counts as
    /// empty. Texts with escapes are borrowed from the reader. `expected` is how many there may be:
    /// memory for them is taken at once.
    KnownFingerprints(JsonReader& reader, std::size_t expected);

    /// The fingerprint of a thing, or an empty text. `text` is the member's text, as it was read.
    /// `hint`, 0 at first, makes it quick to ask for many in the order in which they stand there.
    [[nodiscard]] std::string_view find(std::string_view text,
                                        const Uuid& thing,
                                        std::size_t& hint) const;

    [[nodiscard]] std::size_t size() const { return places_.size(); }
    /// Whether nothing is borrowed, so that the same text of another request will do.
    [[nodiscard]] bool isIndependent() const { return isIndependent_; }

private:
    /// A text: within the member's text, or borrowed.
    struct Place {
        const char* borrowed = nullptr;
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
    };

    void readMembers(JsonReader& reader);

    UuidTable<Place> places_;
    bool isIndependent_ = true;
};

}  // namespace kelto
