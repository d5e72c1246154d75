#include "kelto/foundation/FilePath.hpp"

#include <algorithm>

#include "kelto/foundation/Text.hpp"

namespace kelto {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.ends_with('/')) path.remove_suffix(1);
    return path;
}

/// Where the last component of a path without trailing slashes begins.
std::size_t lastComponentStart(std::string_view trimmed) {
    const std::size_t slash = trimmed.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

/// A blank ends a word, and a direction mark lets a name pass for another one on screen
/// ("gpj.exe"): behind either, what follows the dot is not offered as an extension.
bool holdsForbiddenCharacter(std::string_view extension) {
    for (std::size_t index = 0; index < extension.size(); ++index) {
        if (extension[index] == ' ' || beginsWithDirectionMark(extension.substr(index))) {
            return true;
        }
    }
    return false;
}

/// The length of the extension of a name without slashes, 0 for none. Both the extension and the
/// path without it are cut from this one answer, so that they always fit together again.
std::size_t extensionLength(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return 0;
    const std::string_view stem = name.substr(0, dot);
    if (stem == "." || stem == "..") return 0;
    const std::string_view extension = name.substr(dot + 1);
    return holdsForbiddenCharacter(extension) ? 0 : extension.size();
}

/// Goes on from `place`, a standardized path or "" for the root, along the components of `way`. The
/// text alone says where it has come: a list of components would weigh eight times a path of short
/// ones, and a path may be as long as its sender likes.
void descend(std::string& place, std::string_view way) {
    std::size_t start = 0;
    while (start < way.size()) {
        const std::size_t end = std::min(way.find('/', start), way.size());
        const std::string_view component = way.substr(start, end - start);
        if (component == "..") {
            if (!place.empty()) place.resize(place.rfind('/'));
        } else if (!component.empty() && component != ".") {
            place += '/';
            place += component;
        }
        start = end + 1;
    }
}

}  // namespace

std::string_view lastPathComponent(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    if (trimmed.empty()) return path.substr(0, std::min<std::size_t>(path.size(), 1));
    return trimmed.substr(lastComponentStart(trimmed));
}

std::string_view withoutLastPathComponent(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    const std::string_view parent =
        withoutTrailingSlashes(trimmed.substr(0, lastComponentStart(trimmed)));
    if (parent.empty() && path.starts_with('/')) return path.substr(0, 1);
    return parent;
}

std::string_view pathExtension(std::string_view path) {
    const std::string_view name = lastPathComponent(path);
    return name.substr(name.size() - extensionLength(name));
}

std::string_view withoutPathExtension(std::string_view path) {
    const std::size_t length = extensionLength(lastPathComponent(path));
    if (length == 0) return path;
    const std::string_view trimmed = withoutTrailingSlashes(path);
    return trimmed.substr(0, trimmed.size() - length - 1);
}

std::string joinedPath(std::string_view folder, std::string_view name) {
    // An empty side joins nothing: a slash of ours would turn a relative name into an absolute one.
    if (folder.empty()) return std::string(name);
    if (name.empty()) return std::string(folder);
    while (name.starts_with('/')) name.remove_prefix(1);
    std::string joined(withoutTrailingSlashes(folder));
    joined += '/';
    joined += name;
    return joined;
}

std::string standardizedPath(std::string_view path, std::string_view base) {
    std::string standardized;
    standardized.reserve(base.size() + path.size() + 2);
    if (!path.starts_with('/')) descend(standardized, base);
    descend(standardized, path);
    return standardized.empty() ? "/" : standardized;
}

}  // namespace kelto
