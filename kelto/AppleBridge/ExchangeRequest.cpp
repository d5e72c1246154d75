#include "kelto/AppleBridge/ExchangeRequest.hpp"

#include <cstdint>
#include <limits>
#include <unordered_set>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

namespace {

BridgeError invalidRequest() {
    return BridgeError("Invalid bridge request.");
}

/// Lengths of texts are kept in 32 bits, so a longer request is refused before it is read.
std::string limited(std::string text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw PlatformError::described(
            errorDomain::cocoa, 3840, "The request couldn’t be read because it is over 4 GB long.");
    }
    return text;
}

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

ExchangeRequest::ExchangeRequest(std::string text)
    : text_(limited(std::move(text))), reader_(text_) {
    reader_.requireContainer();
    if (reader_.kind() == JsonKind::array) {
        reader_.skipValue();
        reader_.finish();
        throw invalidRequest();
    }
    readEnvelope();
    if (!isVersionKnown_ || !storePathText_ || !directoryText_ || !areRecordsObjects_) {
        throw invalidRequest();
    }
    storePath_ = *storePathText_;
    directory_ = *directoryText_;
}

std::string_view ExchangeRequest::knownFingerprint(const Uuid& thing) const {
    const auto known = knownFingerprints_.find(thing);
    return known == knownFingerprints_.end() ? std::string_view() : known->second;
}

void ExchangeRequest::readEnvelope() {
    reader_.enterObject();
    while (const auto key = reader_.nextKey()) readMember(*key);
    reader_.finish();
}

void ExchangeRequest::readMember(std::string_view key) {
    if (key == "version") {
        readVersion();
    } else if (key == "storePath") {
        readText(storePathText_);
    } else if (key == "directory") {
        readText(directoryText_);
    } else if (key == "records") {
        readRecords();
    } else if (key == "knownFingerprints") {
        readKnownFingerprints();
    } else {
        reader_.skipValue();
    }
}

void ExchangeRequest::readVersion() {
    isVersionKnown_ = false;
    if (reader_.kind() != JsonKind::number) return reader_.skipValue();
    isVersionKnown_ = reader_.number().integer == bridgeProtocolVersion;
}

void ExchangeRequest::readText(std::optional<std::string_view>& text) {
    text.reset();
    if (reader_.kind() != JsonKind::string) return reader_.skipValue();
    text = reader_.string();
}

void ExchangeRequest::readRecords() {
    records_.clear();
    areRecordsObjects_ = false;
    if (reader_.kind() != JsonKind::array) return reader_.skipValue();
    bool allObjects = true;
    reader_.enterArray();
    while (reader_.nextElement()) {
        if (reader_.kind() == JsonKind::object) {
            readRecord();
        } else {
            allObjects = false;
            reader_.skipValue();
        }
    }
    areRecordsObjects_ = allObjects;
}

void ExchangeRequest::readRecord() {
    countWork(Work::recordsRead);
    Record& record = records_.emplace_back();
    reader_.enterObject();
    while (const auto text = reader_.nextKey()) {
        if (const auto key = recordKey(*text)) {
            record.set(*key, readValue(*key));
        } else {
            reader_.skipValue();
        }
    }
}

RecordValue ExchangeRequest::readValue(RecordKey key) {
    switch (reader_.kind()) {
        case JsonKind::string:
            return RecordValue::string(reader_.string());
        case JsonKind::number:
            return RecordValue::number(reader_.number());
        case JsonKind::boolean:
            return RecordValue::boolean(reader_.boolean());
        case JsonKind::array:
            if (key == RecordKey::tags) return readIdentifiers();
            break;
        case JsonKind::object:
        case JsonKind::null:
            break;
    }
    reader_.skipValue();
    return RecordValue::other();
}

RecordValue ExchangeRequest::readIdentifiers() {
    std::vector<Uuid>& identifiers = identifierLists_.emplace_back();
    reader_.enterArray();
    while (reader_.nextElement()) {
        if (reader_.kind() != JsonKind::string) {
            reader_.skipValue();
        } else if (const auto identifier = Uuid::parse(reader_.string())) {
            identifiers.push_back(*identifier);
        }
    }
    return RecordValue::identifiers(identifiers);
}

void ExchangeRequest::readKnownFingerprints() {
    knownFingerprints_.clear();
    if (reader_.kind() != JsonKind::object) return reader_.skipValue();
    std::unordered_map<Uuid, std::string_view> known;
    // By key text first: the last value of a repeated key decides whether all values are texts.
    std::unordered_set<std::string_view> mistyped;
    reader_.enterObject();
    while (const auto key = reader_.nextKey()) {
        if (!mistyped.empty()) mistyped.erase(*key);
        if (reader_.kind() != JsonKind::string) {
            mistyped.insert(*key);
            reader_.skipValue();
            continue;
        }
        const std::string_view fingerprint = reader_.string();
        if (const auto thing = thingOfKnownKey(*key)) known[*thing] = fingerprint;
    }
    if (mistyped.empty()) knownFingerprints_ = std::move(known);
}

}  // namespace kelto
