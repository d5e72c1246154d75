#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "kelto/model/Thing.hpp"

namespace kelto {

/// One payload of a thing under its key on the wire.
struct PayloadField {
    std::string_view key;
    const std::optional<Payload>* payload;
};

/// The payloads of a thing in the order in which they are exported.
[[nodiscard]] std::array<PayloadField, 3> payloadFields(const Thing& thing);

/// The record over which a thing's fingerprint is taken: compact, keys sorted, payloads by digest.
/// Hosts keep fingerprints between runs: golden files freeze its bytes.
[[nodiscard]] std::string canonicalThingRecord(const Thing& thing,
                                               std::string_view fileFingerprint);

/// The fingerprints of a thing: of its file (see FileFingerprint.hpp), and of its canonical record.
/// Worked out once and remembered by the thing until it changes.
[[nodiscard]] DerivedDigests fingerprintsOf(const Thing& thing);

/// Appends the record as the host receives it. `payloadPathPrefix` followed by a payload's key is
/// the path of its file.
void appendThingRecord(std::string& out,
                       const Thing& thing,
                       std::string_view fileFingerprint,
                       std::string_view fingerprint,
                       std::string_view payloadPathPrefix);

}  // namespace kelto
