#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "kelto/platform/Diagnostics.hpp"

namespace kelto {

/// What the library itself refuses, each with one fixed sentence. Hosts may compare the sentences,
/// so they never change.
enum class BridgeRefusal : std::uint8_t {
    invalidRequest,
    notProvisioned,
    wrongStorePath,
    notSignedIn,
    otherAccount,
    otherStorePath,
    duplicateIdentifiers,
    invalidIdentifier,
    unknownRecordType,
    invalidAssetPath,
    projectCycle,
    unknownReason,
};

inline constexpr std::array allRefusals{BridgeRefusal::invalidRequest,
                                        BridgeRefusal::notProvisioned,
                                        BridgeRefusal::wrongStorePath,
                                        BridgeRefusal::notSignedIn,
                                        BridgeRefusal::otherAccount,
                                        BridgeRefusal::otherStorePath,
                                        BridgeRefusal::duplicateIdentifiers,
                                        BridgeRefusal::invalidIdentifier,
                                        BridgeRefusal::unknownRecordType,
                                        BridgeRefusal::invalidAssetPath,
                                        BridgeRefusal::projectCycle,
                                        BridgeRefusal::unknownReason};

/// What the host shows.
[[nodiscard]] std::string_view sentenceOf(BridgeRefusal refusal);
/// One word for diagnostics: "invalid-request".
[[nodiscard]] FixedText wordFor(BridgeRefusal refusal);

}  // namespace kelto
