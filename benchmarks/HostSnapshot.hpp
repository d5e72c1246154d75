#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/SampleLibrary.hpp"

namespace kelto::bench {

/// What a host remembers of one item beside its texts.
struct HostItem {
    using Fingerprint = std::array<char, 64>;

    std::uint32_t edits = 0;
    std::uint32_t replacements = 0;  ///< of its payload
    bool isKnown = false;            ///< A response with it has arrived.
    bool isReceived = false;         ///< Its payload is the file that the response named.
    Fingerprint fingerprint{};
    Fingerprint fileFingerprint{};
};

/// A host's own snapshot of a sample library, with what it has learned from responses. It lives in
/// a folder of its own, below which are the exchange folder and the incoming payload files.
class HostSnapshot {
public:
    HostSnapshot(const SampleShape& shape, const std::string& folder);

    [[nodiscard]] const SampleLibrary& library() const { return library_; }
    [[nodiscard]] const std::string& exchangeFolder() const { return exchangeFolder_; }
    [[nodiscard]] const HostItem& item(std::size_t item) const { return items_[item]; }
    [[nodiscard]] std::string title(std::size_t item) const;
    /// The path that the record of an item with a payload names.
    [[nodiscard]] std::string payloadPath(std::size_t item) const;
    [[nodiscard]] std::string receivedPath(std::size_t item) const;
    /// The bytes that this path must hold.
    [[nodiscard]] std::string payload(std::size_t item) const;

    void writeIncomingPayloads();
    void edit(std::size_t item);
    /// Edits the item and gives it a new payload, as a new file in the exchange folder.
    void replacePayload(std::size_t item);
    /// Takes the fingerprints of a response that was checked, and the received files for its own.
    void adopt(std::string_view response);

    void save(const std::string& path) const;
    void load(const std::string& path);

private:
    void writeIncomingPayload(std::size_t item) const;
    [[nodiscard]] std::string incomingPath(std::size_t item) const;

    SampleLibrary library_;
    std::string exchangeFolder_;
    std::vector<HostItem> items_;
};

}  // namespace kelto::bench
