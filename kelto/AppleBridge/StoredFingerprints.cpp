#include "kelto/AppleBridge/StoredFingerprints.hpp"

#include <array>
#include <bit>
#include <cstring>
#include <functional>
#include <optional>
#include <string_view>

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"

namespace kelto {

namespace {

/// Goes up whenever the canonical texts change: what an older library has stored is of no use then.
constexpr std::uint64_t meaning = 1;

/// Many values in one number. What compilers and their libraries may do differently, such as the
/// hash of a text, makes stored fingerprints useless to each other's programs, never wrong.
class Mixture {
public:
    void add(std::uint64_t value) {
        constexpr std::uint64_t oddFactor = 0x9E3779B97F4A7C15U;  // 2^64 by the golden ratio
        number_ = (number_ ^ value) * oddFactor;
        number_ ^= number_ >> 32U;
    }
    void add(std::string_view text) {
        add(text.size());
        add(std::hash<std::string_view>{}(text));
    }
    void add(double value) { add(std::bit_cast<std::uint64_t>(value)); }
    void add(const Uuid& uuid) { addWords(uuid.bytes); }
    void add(const Digest& digest) { addWords(digest.bytes); }
    void add(const std::optional<Date>& date) {
        add(std::uint64_t{date.has_value()});
        if (date) add(date->secondsSince1970);
    }
    void add(const std::optional<Payload>& payload) {
        add(std::uint64_t{payload.has_value()});
        if (payload) add(payload->digest);
    }

    [[nodiscard]] std::uint64_t number() const { return number_; }

private:
    template <typename Array>
    void addWords(const Array& bytes) {
        std::uint64_t word = 0;
        static_assert(sizeof bytes % sizeof word == 0);
        for (std::size_t at = 0; at < sizeof bytes; at += sizeof word) {
            std::memcpy(&word, bytes.data() + at, sizeof word);
            add(word);
        }
    }

    std::uint64_t number_ = meaning;
};

std::array<const std::string*, 9> textsOf(const Thing& thing) {
    return {&thing.kindRaw(),
            &thing.title(),
            &thing.subtitle(),
            &thing.content(),
            &thing.note(),
            &thing.urlString(),
            &thing.fileName(),
            &thing.typeIdentifier(),
            &thing.metadataJSON()};
}

/// Whether a record of the thing can be so long: memory is asked for by it.
bool isPlausible(std::uint64_t recordBytes, const Thing& thing) {
    constexpr std::uint64_t mostEscaped = 6;  // for each byte of a text
    constexpr std::uint64_t mostForTag = 40;
    constexpr std::uint64_t mostOtherwise = 4096;
    std::uint64_t textBytes = 0;
    for (const std::string* text : textsOf(thing)) textBytes += text->size();
    return recordBytes >= textBytes && recordBytes <= textBytes * mostEscaped +
                                                          thing.tags().size() * mostForTag +
                                                          mostOtherwise;
}

}  // namespace

std::uint64_t fingerprintBasis(const Thing& thing, const DerivedDigests& digests) {
    Mixture basis;
    basis.add(thing.uuid());
    for (const std::string* text : textsOf(thing)) basis.add(*text);
    basis.add(static_cast<std::uint64_t>(thing.fileSize()));
    basis.add(thing.data());
    basis.add(thing.thumbnailData());
    basis.add(thing.iconData());
    basis.add(thing.aspectRatio());
    basis.add(std::uint64_t{thing.isStarred()});
    basis.add(thing.trashedAt());
    basis.add(thing.createdAt().secondsSince1970);
    basis.add(thing.updatedAt().secondsSince1970);
    basis.add(thing.tags().size());
    for (const Tag* tag : thing.tags()) basis.add(tag->uuid());
    basis.add(std::uint64_t{thing.project() != nullptr});
    if (thing.project() != nullptr) basis.add(thing.project()->uuid());
    basis.add(digests.file);
    basis.add(digests.record);
    basis.add(digests.recordBytes);
    return basis.number();
}

bool hasSoundStoredFingerprints(const Thing& thing) {
    const DerivedDigests* stored = thing.storedDigests();
    return stored != nullptr && isPlausible(stored->recordBytes, thing) &&
           stored->basis == fingerprintBasis(thing, *stored);
}

const DerivedDigests* heldFingerprints(const Thing& thing) {
    if (hasSoundStoredFingerprints(thing)) thing.remember(DerivedDigests(*thing.storedDigests()));
    return thing.derivedDigests();
}

}  // namespace kelto
