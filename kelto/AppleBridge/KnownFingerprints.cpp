#include "kelto/AppleBridge/KnownFingerprints.hpp"

#include <optional>
#include <unordered_set>

namespace kelto {

namespace {

/// "Thing:" followed by an identifier in lower case; none for any other key.
std::optional<Uuid> thingOfKnownKey(std::string_view key) {
    constexpr std::string_view prefix = "Thing:";
    if (!key.starts_with(prefix)) return std::nullopt;
    key.remove_prefix(prefix.size());
    for (const char character : key) {
        if (character >= 'A' && character <= 'Z') return std::nullopt;
    }
    return Uuid::parse(key);
}

}  // namespace

KnownFingerprints::KnownFingerprints(JsonReader& reader, std::size_t expected) {
    if (reader.kind() == JsonKind::object) {
        places_.reserve(expected);
        readMembers(reader);
    } else {
        // Perhaps a text or a number, whose end is not to be told from what follows it.
        isIndependent_ = false;
        reader.skipValue();
    }
}

void KnownFingerprints::readMembers(JsonReader& reader) {
    const std::size_t start = reader.offset();
    const std::string_view whole = reader.text();
    // By key text: the last value of a repeated key decides whether all values are texts.
    std::unordered_set<std::string_view> mistyped;
    reader.enterObject();
    while (const auto key = reader.nextKey()) {
        if (!mistyped.empty()) mistyped.erase(*key);
        if (reader.kind() != JsonKind::string) {
            mistyped.insert(*key);
            reader.skipValue();
            continue;
        }
        const std::string_view fingerprint = reader.string();
        const auto thing = thingOfKnownKey(*key);
        if (!thing) continue;
        Place place{nullptr, 0, static_cast<std::uint32_t>(fingerprint.size())};
        if (fingerprint.data() >= whole.data() &&
            fingerprint.data() < whole.data() + whole.size()) {
            const auto offset = static_cast<std::size_t>(fingerprint.data() - whole.data());
            place.offset = static_cast<std::uint32_t>(offset - start);
        } else {
            place.borrowed = fingerprint.data();
            isIndependent_ = false;
        }
        places_.assign(*thing, place);
    }
    if (!mistyped.empty()) places_ = {};
}

std::string_view KnownFingerprints::find(std::string_view text,
                                         const Uuid& thing,
                                         std::size_t& hint) const {
    const Place* const place = places_.find(thing, hint);
    if (place == nullptr) return {};
    if (place->borrowed != nullptr) return {place->borrowed, place->size};
    return text.substr(place->offset, place->size);
}

}  // namespace kelto
