#pragma once

#include <string>
#include <string_view>

namespace kelto::ctl {

/// A new random identifier (UUID version 4), as lower-case text.
[[nodiscard]] std::string randomIdentifier();

/// The identifier of what import makes of a file or folder: always the same for the same record
/// type, absolute folder and path in it (UUID version 8, from a SHA-256). The rule never changes:
/// with another one, every folder would be imported a second time.
[[nodiscard]] std::string importIdentifier(std::string_view recordType,
                                           std::string_view root,
                                           std::string_view relativePath);

/// How much of an identifier is shown to people, who may write as much or as little of it.
inline constexpr std::size_t shortIdentifierLength = 8;
[[nodiscard]] inline std::string_view shortIdentifier(std::string_view identifier) {
    return identifier.substr(0, shortIdentifierLength);
}

}  // namespace kelto::ctl
