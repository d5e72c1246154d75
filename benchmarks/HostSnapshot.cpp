#include "benchmarks/HostSnapshot.hpp"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <type_traits>

#include "benchmarks/ResponseRecords.hpp"

namespace kelto::bench {

namespace {

static_assert(std::is_trivially_copyable_v<HostItem>, "saved as it lies in memory");

void take(HostItem::Fingerprint& fingerprint, std::string_view text) {
    if (text.size() != fingerprint.size())
        throw std::runtime_error("a fingerprint has no 64 digits");
    std::memcpy(fingerprint.data(), text.data(), text.size());
}

}  // namespace

HostSnapshot::HostSnapshot(const SampleShape& shape, const std::string& folder)
    : library_(shape), exchangeFolder_(folder + "/exchange"), items_(shape.items) {
    std::filesystem::create_directories(exchangeFolder_ + "/incoming");
}

std::string HostSnapshot::title(std::size_t item) const {
    return SampleLibrary::itemTitle(item, items_[item].edits);
}

std::string HostSnapshot::payloadPath(std::size_t item) const {
    return items_[item].isReceived ? receivedPath(item) : incomingPath(item);
}

std::string HostSnapshot::receivedPath(std::size_t item) const {
    return exchangeFolder_ + "/received/" + SampleLibrary::itemIdentifier(item) + ".data";
}

std::string HostSnapshot::incomingPath(std::size_t item) const {
    return exchangeFolder_ + "/incoming/" + std::to_string(item) + "-" +
           std::to_string(items_[item].replacements);
}

std::string HostSnapshot::payload(std::size_t item) const {
    return library_.payload(item, items_[item].replacements);
}

void HostSnapshot::writeIncomingPayloads() {
    for (std::size_t item = 0; item < items_.size(); ++item) {
        if (library_.hasPayload(item)) writeIncomingPayload(item);
    }
}

void HostSnapshot::writeIncomingPayload(std::size_t item) const {
    const std::string path = incomingPath(item);
    std::ofstream file(path, std::ios::binary);
    file << payload(item);
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

void HostSnapshot::edit(std::size_t item) {
    ++items_[item].edits;
}

void HostSnapshot::replacePayload(std::size_t item) {
    edit(item);
    ++items_[item].replacements;
    items_[item].isReceived = false;
    writeIncomingPayload(item);
}

void HostSnapshot::adopt(std::string_view response) {
    const std::size_t first = library_.positionOf(0);
    forEachRecord(response, [&](std::size_t position, const ResponseRecord& record) {
        if (position < first) return;
        HostItem& item = items_[position - first];
        take(item.fingerprint, record.fingerprint);
        take(item.fileFingerprint, record.fileFingerprint);
        item.isKnown = true;
        item.isReceived = true;
    });
}

void HostSnapshot::save(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(items_.data()),
               static_cast<std::streamsize>(items_.size() * sizeof(HostItem)));
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

void HostSnapshot::load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(items_.data()),
              static_cast<std::streamsize>(items_.size() * sizeof(HostItem)));
    if (!file) throw std::runtime_error("cannot read " + path);
}

}  // namespace kelto::bench
