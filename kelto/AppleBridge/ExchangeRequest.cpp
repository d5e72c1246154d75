#include "kelto/AppleBridge/ExchangeRequest.hpp"

#include <cstdint>
#include <limits>
#include <utility>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/AppleBridge/RecordRecognition.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

namespace {

BridgeError invalidRequest() {
    return BridgeError(BridgeRefusal::invalidRequest);
}

/// Lengths of texts are kept in 32 bits, so a longer request is refused before it is read.
LargeText limited(LargeText text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw PlatformError::described(
            errorDomain::cocoa, 3840, "The request couldn’t be read because it is over 4 GB long.");
    }
    return text;
}

/// The part of the text from `start` to where the reader stands.
std::string_view textSince(std::size_t start, JsonReader& reader) {
    return reader.text().substr(start, reader.offset() - start);
}

}  // namespace

ExchangeRequest::ExchangeRequest(LargeText text, std::shared_ptr<const RequestMemory> memory)
    : memory_(std::move(memory)), text_(limited(std::move(text))), reader_(text_.view()) {
    isRepeated_ = memory_ != nullptr && memory_->isComplete && text_.number() != 0 &&
                  memory_->textNumber == text_.number();
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

std::string_view ExchangeRequest::knownFingerprint(const Uuid& thing, std::size_t& hint) const {
    if (known_ == nullptr) return {};
    return known_->find(knownText_, thing, hint);
}

void ExchangeRequest::describe(RequestMemory& memory) const {
    memory.textNumber = text_.number();
    // Records of a list that another one has replaced are not among those remembered.
    memory.isComplete = recordLists_ == 1 && memory.records.size() == records_.size();
    memory.knownText = SeenText::of(knownText_);
    memory.known = known_;
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
    ++recordLists_;
    records_.clear();
    areRecordsObjects_ = false;
    if (reader_.kind() != JsonKind::array) return reader_.skipValue();
    std::optional<RecordRecognition> recognition;
    if (memory_ != nullptr) {
        recognition.emplace(*memory_, isRepeated_, text_.size());
        records_.reserve(memory_->records.size());
    }
    bool allObjects = true;
    bool isRefused = false;
    reader_.enterArray();
    while (reader_.nextElement()) {
        const bool isObject = reader_.kind() == JsonKind::object;
        allObjects = allObjects && isObject;
        if (isObject && !isRefused) {
            readRecord(recognition ? &*recognition : nullptr);
            isRefused = records_.back().isSureToBeRefused();
        } else {
            reader_.skipValue();
        }
    }
    areRecordsObjects_ = allObjects;
}

void ExchangeRequest::readRecord(RecordRecognition* recognition) {
    const std::size_t start = reader_.offset();
    if (recognition != nullptr) {
        const std::string_view rest = text_.view().substr(start);
        if (const SeenRecord* seen = recognition->recognise(rest)) {
            reader_.passOver(seen->textSize);
            records_.emplace_back(rest.substr(0, seen->textSize), *seen, recordReader_);
            return;
        }
    }
    const RecordValues& values = recordReader_.read(reader_);
    const Record& record = records_.emplace_back(textSince(start, reader_), values);
    if (recognition == nullptr) return;
    if (const auto identifier = record.optionalUUID(RecordKey::uuid)) {
        recognition->foundInstead(*identifier);
    }
}

void ExchangeRequest::readKnownFingerprints() {
    const std::size_t start = reader_.offset();
    // Only the first: a request may have many such members, and each look has the length of that
    // which is remembered.
    const bool isFirst = known_ == nullptr;
    if (isFirst && isRememberedKnown(text_.view().substr(start))) {
        reader_.passOver(memory_->knownText.size);
        known_ = memory_->known;
    } else {
        const bool hasBefore = isFirst && memory_ != nullptr && memory_->known != nullptr;
        known_ = std::make_shared<const KnownFingerprints>(reader_,
                                                           hasBefore ? memory_->known->size() : 0);
    }
    knownText_ = textSince(start, reader_);
}

bool ExchangeRequest::isRememberedKnown(std::string_view rest) const {
    return memory_ != nullptr && memory_->known != nullptr && memory_->known->isIndependent() &&
           memory_->knownText.begins(rest);
}

}  // namespace kelto
