#include "kelto/AppleBridge/BridgeRefusal.hpp"

#include <cstddef>

namespace kelto {

namespace {

struct Wording {
    FixedText word;
    std::string_view sentence;
};

/// In the order of the enumeration.
constexpr Wording wordings[] = {
    {"invalid-request", "Invalid bridge request."},
    {"not-provisioned", "This build is not provisioned for iCloud."},
    {"wrong-store-path", "The iCloud store must be in Kelto’s App Group."},
    {"not-signed-in", "Sign in to iCloud in System Settings to sync."},
    {"other-account",
     "This library belongs to another iCloud account. Sign back into that account to resume sync."},
    {"other-store-path", "The native store is already open at a different location."},
    {"duplicate-identifiers",
     "The iCloud library contains duplicate identifiers. Sync paused to preserve your data."},
    {"invalid-identifier", "Invalid record identifier."},
    {"unknown-record-type", "Unknown iCloud record type."},
    {"invalid-asset-path", "Invalid asset path."},
    {"project-cycle", "The library contains a project cycle."},
    {"unknown-reason", "The exchange failed for an unknown reason."},
};
static_assert(std::size(wordings) == allRefusals.size());

const Wording& wordingOf(BridgeRefusal refusal) {
    return wordings[static_cast<std::size_t>(refusal)];
}

}  // namespace

std::string_view sentenceOf(BridgeRefusal refusal) {
    return wordingOf(refusal).sentence;
}

FixedText wordFor(BridgeRefusal refusal) {
    return wordingOf(refusal).word;
}

}  // namespace kelto
