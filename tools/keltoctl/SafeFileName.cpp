#include "tools/keltoctl/SafeFileName.hpp"

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"

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

}  // namespace

std::string safeFileName(std::string_view name) {
    std::string safe = repairedUtf8(name);
    for (char& character : safe) {
        if (character == '/' || character == '\0') character = '-';
        if (isControl(character)) character = ' ';
    }
    if (safe.size() > lengthLimitBytes) {
        const std::string_view extension = pathExtension(safe);
        if (extension.empty() || extension.size() > extensionLimitBytes)
            safe = prefixOfBytes(safe, lengthLimitBytes);
        else
            safe = std::string(prefixOfBytes(withoutPathExtension(safe),
                                             lengthLimitBytes - extension.size() - 1)) +
                   "." + std::string(extension);
    }
    if (safe.empty() || safe == "." || safe == "..") return "unnamed";
    return safe;
}

std::string numberedFileName(const std::string& name, int number) {
    if (number == 1) return name;
    const std::string mark = " (" + std::to_string(number) + ")";
    const std::string_view extension = pathExtension(name);
    if (extension.empty()) return name + mark;
    return std::string(withoutPathExtension(name)) + mark + "." + std::string(extension);
}

}  // namespace kelto::ctl
