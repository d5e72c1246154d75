#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/KnownFingerprints.hpp"
#include "kelto/AppleBridge/Record.hpp"
#include "kelto/AppleBridge/RecordReader.hpp"
#include "kelto/AppleBridge/RequestMemory.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// The envelope of one exchange and the host's records, read from the request's text in one pass.
/// What stood in the last request letter by letter is recognised and not read again.
class ExchangeRequest {
public:
    /// Throws a PlatformError when the text is not JSON (a document that is not an object or an
    /// array included), and a BridgeError, "Invalid bridge request.", when it is not a request.
    explicit ExchangeRequest(LargeText text, std::shared_ptr<const RequestMemory> memory = nullptr);
    ExchangeRequest(const ExchangeRequest&) = delete;
    ExchangeRequest& operator=(const ExchangeRequest&) = delete;

    [[nodiscard]] const std::string& storePath() const { return storePath_; }
    [[nodiscard]] const std::string& directory() const { return directory_; }
    /// Up to the first one that is sure to be refused: what stands behind it has no part in
    /// anything, and there may be millions.
    [[nodiscard]] const LargeVector<Record>& records() const { return records_; }

    /// The "fingerprint" that the host says it last received for a thing; an empty text when none.
    /// `hint` as that of KnownFingerprints::find().
    [[nodiscard]] std::string_view knownFingerprint(const Uuid& thing, std::size_t& hint) const;

    /// The last request, as it was when this one was read; nullptr when none is remembered.
    [[nodiscard]] const std::shared_ptr<const RequestMemory>& memory() const { return memory_; }
    /// Whether it is the last request as a whole, and all of its records are remembered.
    [[nodiscard]] bool isRepeated() const { return isRepeated_; }
    /// Tells the memory of this request what it must know of the text.
    void describe(RequestMemory& memory) const;

private:
    void readEnvelope();
    void readMember(std::string_view key);
    void readText(std::optional<std::string_view>& text);
    void readVersion();
    void readRecords();
    void readRecord(class RecordRecognition* recognition);
    void readKnownFingerprints();
    [[nodiscard]] bool isRememberedKnown(std::string_view rest) const;

    std::shared_ptr<const RequestMemory> memory_;
    LargeText text_;
    JsonReader reader_;
    RecordReader recordReader_;
    std::string storePath_;
    std::string directory_;
    LargeVector<Record> records_;
    bool isRepeated_ = false;
    std::size_t recordLists_ = 0;  ///< So many members have the name "records".
    std::string_view knownText_;
    std::shared_ptr<const KnownFingerprints> known_;

    // While the envelope is read: what a later member of the same name may still replace.
    bool isVersionKnown_ = false;
    bool areRecordsObjects_ = false;
    std::optional<std::string_view> storePathText_;
    std::optional<std::string_view> directoryText_;
};

}  // namespace kelto
