#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kelto/foundation/Date.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/Payload.hpp"

namespace kelto {

/// What makes up an item's file on the host's disk. Texts are borrowed.
struct FileFacts {
    std::string_view kind;
    std::string_view title;
    std::string_view content;
    std::string_view url;
    std::string_view name;
    std::optional<Date> trashed;
    std::optional<Payload> data;

    [[nodiscard]] static FileFacts of(const Thing& thing);
    friend bool operator==(const FileFacts&, const FileFacts&) = default;
};

/// The canonical JSON text whose digest is the fingerprint. Hosts keep fingerprints for years, so
/// not a byte of it may ever change: golden files freeze it.
[[nodiscard]] std::string canonicalJson(const FileFacts& facts);

/// A short text that changes whenever an item's file changes: the SHA-256 digest of the canonical
/// JSON, 64 lower-case hexadecimal digits.
[[nodiscard]] std::string fileFingerprint(const FileFacts& facts);
[[nodiscard]] std::string fileFingerprint(const Thing& thing);

}  // namespace kelto
