#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/foundation/TextBuffer.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

/// One payload of a thing under its key on the wire.
struct PayloadField {
    std::string_view key;
    std::optional<Payload> payload;
};

/// The payloads of a thing in the order in which they are exported.
[[nodiscard]] std::array<PayloadField, 3> payloadFields(const Thing& thing);

/// The record over which a thing's fingerprint is taken: compact, keys sorted, payloads by digest.
/// Hosts keep fingerprints between runs: golden files freeze its bytes.
[[nodiscard]] std::string canonicalThingRecord(const Thing& thing, const Digest& fileFingerprint);

/// The fingerprints of a thing: of its file (see FileFingerprint.hpp), and of its canonical record.
/// Any thread, as long as nobody changes the objects meanwhile.
[[nodiscard]] DerivedDigests computedFingerprints(const Thing& thing);
/// The same, but worked out once and remembered by the thing until it changes.
[[nodiscard]] DerivedDigests fingerprintsOf(const Thing& thing);

/// Appends the record as the host receives it; `receivedFolder` is the folder of its payload files.
void appendThingRecord(TextBuffer& out,
                       const Thing& thing,
                       const DerivedDigests& fingerprints,
                       std::string_view receivedFolder);

/// How many bytes appendThingRecord() will append, exactly. `folderBytes` is how long the folder of
/// payload files is in JSON, with the slash behind it.
[[nodiscard]] std::size_t thingRecordBytes(const Thing& thing,
                                           const DerivedDigests& fingerprints,
                                           std::size_t folderBytes);

/// The name of a payload's file: the thing's identifier and the payload's key.
[[nodiscard]] std::string payloadName(const Thing& thing, std::string_view key);

}  // namespace kelto
