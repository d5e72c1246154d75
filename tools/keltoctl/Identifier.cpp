#include "tools/keltoctl/Identifier.hpp"

#include <algorithm>
#include <cerrno>

#include <sys/random.h>

#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/Refusal.hpp"

namespace kelto::ctl {

namespace {

std::string identifierText(Uuid uuid, unsigned version) {
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0FU) | version << 4U);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3FU) | 0x80U);
    return uuid.lowerCaseText();
}

}  // namespace

std::string randomIdentifier() {
    Uuid uuid;
    if (::getrandom(uuid.bytes.data(), uuid.bytes.size(), 0) !=
        static_cast<ssize_t>(uuid.bytes.size()))
        throw Refusal(fileSentence("read", "/dev/urandom", errno));
    return identifierText(uuid, 4);
}

std::string importIdentifier(std::string_view recordType,
                             std::string_view root,
                             std::string_view relativePath) {
    // No path holds a NUL, so no two different triples are the same text.
    std::string text = "keltoctl";
    for (const std::string_view part : {recordType, root, relativePath})
        text.append(1, '\0').append(part);
    const Digest digest = sha256(text);
    Uuid uuid;
    std::copy_n(digest.bytes.begin(), uuid.bytes.size(), uuid.bytes.begin());
    return identifierText(uuid, 8);
}

}  // namespace kelto::ctl
