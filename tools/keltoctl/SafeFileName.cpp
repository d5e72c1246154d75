#include "tools/keltoctl/SafeFileName.hpp"

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/FileDraft.hpp"

namespace kelto::ctl {

namespace {

// File systems allow 255 bytes; a number and its blank fit into the rest.
constexpr std::size_t lengthLimitBytes = 240;
constexpr std::size_t extensionLimitBytes = 40;

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

std::string_view prefixOfBytes(std::string_view text, std::size_t limit) {
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t next = graphemePrefix(text.substr(length), 1).size();
        if (length + next > limit) break;
        length += next;
    }
    return text.substr(0, length);
}

/// From the dot on: what says what the file is. It stays whole when a name is cut, and at the end
/// when one is numbered. Empty when there is none, or it is too long to be one.
std::string_view endingOf(std::string_view name) {
    for (const std::string_view ending : textEndings)
        if (name.size() > ending.size() && lowerCased(name).ends_with(ending))
            return name.substr(name.size() - ending.size());
    const std::string_view extension = pathExtension(name);
    if (extension.empty() || extension.size() > extensionLimitBytes) return {};
    return name.substr(name.size() - extension.size() - 1);
}

std::string_view withoutEnding(std::string_view name) {
    return name.substr(0, name.size() - endingOf(name).size());
}

}  // namespace

std::string safeFileName(std::string_view name) {
    std::string safe = repairedUtf8(name);
    for (char& character : safe) {
        if (character == '/' || character == '\0') character = '-';
        if (isControl(character)) character = ' ';
    }
    if (safe.size() > lengthLimitBytes) {
        const std::string ending(endingOf(safe));
        safe = std::string(prefixOfBytes(withoutEnding(safe), lengthLimitBytes - ending.size())) +
               ending;
    }
    if (safe.empty() || safe == "." || safe == "..") return "unnamed";
    return safe;
}

std::string numberedFileName(const std::string& name, int number) {
    if (number == 1) return name;
    const std::string mark = " (" + std::to_string(number) + ")";
    return std::string(withoutEnding(name)) + mark + std::string(endingOf(name));
}

}  // namespace kelto::ctl
