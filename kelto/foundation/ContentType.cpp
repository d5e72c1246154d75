#include "kelto/foundation/ContentType.hpp"

#include <algorithm>
#include <iterator>

#include "kelto/foundation/ContentTypeTable.hpp"

namespace kelto {
namespace {

/// Identifiers and extensions are ASCII; other bytes are left alone and are found in no table.
std::string lowerCasedAscii(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

/// Takes the first word off a list separated by blanks; "" when nothing is left.
std::string_view nextWord(std::string_view& list) {
    const std::size_t end = std::min(list.find(' '), list.size());
    const std::string_view word = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return word;
}

const KnownContentType* findByIdentifier(std::string_view identifier) {
    const auto* const found =
        std::find_if(std::begin(knownContentTypes), std::end(knownContentTypes), [&](auto& known) {
            return known.identifier == identifier;
        });
    return found == std::end(knownContentTypes) ? nullptr : found;
}

bool hasExtension(const KnownContentType& known, std::string_view extension) {
    std::string_view rest = known.extensions;
    while (!rest.empty()) {
        if (nextWord(rest) == extension) return true;
    }
    return false;
}

bool isDerivedFrom(std::string_view identifier, std::string_view ancestor) {
    if (identifier == ancestor) return true;
    const KnownContentType* const known = findByIdentifier(identifier);
    if (known == nullptr) return false;
    std::string_view parents = known->conformsTo;
    while (!parents.empty()) {
        if (isDerivedFrom(nextWord(parents), ancestor)) return true;
    }
    return false;
}

}  // namespace

std::optional<ContentType> ContentType::fromIdentifier(std::string_view identifier) {
    if (identifier.empty()) return std::nullopt;
    return ContentType(lowerCasedAscii(identifier));
}

std::optional<ContentType> ContentType::fromFileExtension(std::string_view extension) {
    if (extension.empty()) return std::nullopt;
    const std::string lower = lowerCasedAscii(extension);
    const auto* const found = std::find_if(std::begin(knownContentTypes),
                                           std::end(knownContentTypes),
                                           [&](auto& known) { return hasExtension(known, lower); });
    if (found == std::end(knownContentTypes)) return std::nullopt;
    return ContentType(std::string(found->identifier));
}

bool ContentType::conformsTo(std::string_view identifier) const {
    return isDerivedFrom(identifier_, lowerCasedAscii(identifier));
}

std::optional<std::string_view> ContentType::preferredFileExtension() const {
    const KnownContentType* const known = findByIdentifier(identifier_);
    if (known == nullptr || known->extensions.empty()) return std::nullopt;
    std::string_view extensions = known->extensions;
    return nextWord(extensions);
}

}  // namespace kelto
