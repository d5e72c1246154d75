#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelto/AppleBridge/Record.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// The envelope of one exchange and the host's records, read from the request's text in one pass.
class ExchangeRequest {
public:
    /// Throws a PlatformError when the text is not JSON (a document that is not an object or an
    /// array included), and a BridgeError, "Invalid bridge request.", when it is not a request.
    explicit ExchangeRequest(std::string text);
    ExchangeRequest(const ExchangeRequest&) = delete;
    ExchangeRequest& operator=(const ExchangeRequest&) = delete;

    [[nodiscard]] const std::string& storePath() const { return storePath_; }
    [[nodiscard]] const std::string& directory() const { return directory_; }
    [[nodiscard]] const std::vector<Record>& records() const { return records_; }

    /// The "fingerprint" that the host says it last received for a thing; an empty text when none.
    [[nodiscard]] std::string_view knownFingerprint(const Uuid& thing) const;

private:
    void readEnvelope();
    void readMember(std::string_view key);
    void readText(std::optional<std::string_view>& text);
    void readVersion();
    void readRecords();
    void readRecord();
    [[nodiscard]] RecordValue readValue(RecordKey key);
    [[nodiscard]] RecordValue readIdentifiers();
    void readKnownFingerprints();

    std::string text_;
    JsonReader reader_;
    std::string storePath_;
    std::string directory_;
    std::vector<Record> records_;
    // Lists of identifiers; a deque, since records point into it while it grows.
    std::deque<std::vector<Uuid>> identifierLists_;
    std::unordered_map<Uuid, std::string_view> knownFingerprints_;

    // While the envelope is read: what a later member of the same name may still replace.
    bool isVersionKnown_ = false;
    bool areRecordsObjects_ = false;
    std::optional<std::string_view> storePathText_;
    std::optional<std::string_view> directoryText_;
};

}  // namespace kelto
