#include "kelto/foundation/PlatformError.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

namespace {

const std::string* textUnder(const ErrorDictionary& dictionary, std::string_view key) {
    const ErrorValue* value = dictionary.find(key);
    return value == nullptr ? nullptr : std::get_if<std::string>(value);
}

/// The C library's text for an errno, in English whatever the locale; empty for an unknown one.
std::string_view posixReason(std::int64_t code) {
    if (!std::in_range<int>(code)) return {};
    const char* text = strerrordesc_np(static_cast<int>(code));
    return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string_view failureReason(const ErrorObject& error) {
    if (const std::string* reason = textUnder(error.userInfo, errorKey::localizedFailureReason)) {
        return *reason;
    }
    return error.domain == errorDomain::posix ? posixReason(error.code) : std::string_view();
}

/// The two oldest domains go by a shorter name in sentences.
std::string_view spokenDomain(std::string_view domain) {
    if (domain == errorDomain::cocoa) return "Cocoa";
    if (domain == errorDomain::posix) return "POSIX";
    return domain;
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    // U+0080 to U+009F are control characters too; each is C2 and a second byte below A0.
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

std::size_t lengthOfCharacter(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// A name as it can stand in a sentence: well-formed UTF-8 of a bearable length, without characters
/// that could tear the line or hide a part of it.
std::string spokenText(std::string_view name) {
    constexpr std::size_t longestName = 255;  // bytes; no file system knows a longer one
    const std::string wellFormed = repairedUtf8(name);
    std::string spoken;
    std::size_t length = 0;
    for (std::size_t at = 0; at < wellFormed.size(); at += length) {
        length = lengthOfCharacter(wellFormed[at]);
        if (spoken.size() + length > longestName) return spoken + "…";
        const std::string_view character = std::string_view(wellFormed).substr(at, length);
        if (isControl(character) || beginsWithDirectionMark(character)) {
            spoken += '?';
        } else {
            spoken += character;
        }
    }
    return spoken;
}

/// A file's name and the name of its folder as they can stand in a sentence: well-formed UTF-8
/// without control characters, which could tear the line or hide a part of it.
struct SpokenPath {
    std::string file;    ///< with the noun and the quotation marks: file “x”
    std::string folder;  ///< the same with what leads over to it: in the folder “y”; else empty
};

std::string spokenName(std::string_view name) {
    return "“" + spokenText(name) + "”";
}

/// Without slashes at its end; the root stays what it is.
std::string_view trimmedPath(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

/// The last component of a path without trailing slashes; "/" for the root.
std::string_view lastComponent(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos || path == "/" ? path : path.substr(slash + 1);
}

SpokenPath spokenPath(std::string_view path) {
    path = trimmedPath(path);
    if (path.empty()) return {"file", ""};
    SpokenPath spoken{"file " + spokenName(lastComponent(path)), ""};
    if (const std::size_t slash = path.rfind('/'); slash != path.npos && path != "/") {
        const std::string_view folder = trimmedPath(path.substr(0, slash + 1));
        spoken.folder = " in the folder " + spokenName(lastComponent(folder));
    }
    return spoken;
}

std::string inParentheses(int errorNumber) {
    const std::string_view reason = posixReason(errorNumber);
    return " (" + (reason.empty() ? "error " + std::to_string(errorNumber) : std::string(reason)) +
           ").";
}

struct FileFailure {
    std::int64_t code;
    std::string sentence;
};

FileFailure readFailure(const SpokenPath& path, int errorNumber) {
    const std::string failed = "The " + path.file + " couldn’t be opened";
    switch (errorNumber) {
        case ENOENT:
            return {260, failed + " because there is no such file."};
        case EACCES:
        case EPERM:
            return {257, failed + " because you don’t have permission to view it."};
        case ENAMETOOLONG:
            return {258, failed + " because the file name is invalid."};
        default:
            return {256, failed + inParentheses(errorNumber)};
    }
}

FileFailure writeFailure(const SpokenPath& path, int errorNumber) {
    const std::string failed = "The " + path.file + " couldn’t be saved" + path.folder;
    switch (errorNumber) {
        case ENOENT:
            return {4, "The " + path.file + " doesn’t exist."};
        case EACCES:
        case EPERM:
            return {513, "You don’t have permission to save the " + path.file + path.folder + "."};
        case ENAMETOOLONG:
            return {514, failed + " because the file name is invalid."};
        case EEXIST:
            return {516, failed + " because a file with the same name already exists."};
        case ENOSPC:
        case EDQUOT:
            return {640, failed + " because there isn’t enough space."};
        case EROFS:
            return {642, failed + " because the volume is read only."};
        default:
            return {512, failed + inParentheses(errorNumber)};
    }
}

PlatformError fileError(std::string_view path, int errorNumber, FileFailure failure) {
    // The system's error stands beside, not below: whoever walks down a tree of errors to its
    // leaves would otherwise lose the sentence that names the file.
    return {errorDomain::cocoa,
            failure.code,
            ErrorDictionary({
                {std::string(errorKey::filePath), std::string(path)},
                {std::string(errorKey::debugDescription), std::string(posixReason(errorNumber))},
                {std::string(errorKey::localizedDescription), std::move(failure.sentence)},
            })};
}

}  // namespace

std::string spokenFileName(std::string_view path) {
    return spokenText(lastComponent(trimmedPath(path)));
}

ErrorDictionary::ErrorDictionary(std::vector<std::pair<std::string, ErrorValue>> all)
    : entries(std::move(all)) {
    for (auto& [key, value] : entries) {
        const ErrorRef* error = std::get_if<ErrorRef>(&value);
        if (error != nullptr && *error == nullptr) value = std::monostate();
    }
}

const ErrorValue* ErrorDictionary::find(std::string_view key) const {
    const auto entry = std::find_if(
        entries.begin(), entries.end(), [key](const auto& each) { return each.first == key; });
    return entry == entries.end() ? nullptr : &entry->second;
}

ErrorObject::ErrorObject(std::string errorDomain,
                         std::int64_t errorCode,
                         ErrorDictionary information)
    : domain(std::move(errorDomain)), code(errorCode), userInfo(std::move(information)) {}

std::string ErrorObject::localizedDescription() const {
    if (const std::string* sentence = textUnder(userInfo, errorKey::localizedDescription)) {
        return *sentence;
    }
    const std::string_view reason = failureReason(*this);
    if (const std::string* failure = textUnder(userInfo, errorKey::localizedFailure)) {
        return reason.empty() ? *failure : *failure + " " + std::string(reason);
    }
    std::string sentence = "The operation couldn’t be completed. ";
    if (!reason.empty()) return sentence.append(reason);
    return sentence.append("(")
        .append(spokenDomain(domain))
        .append(" error ")
        .append(std::to_string(code))
        .append(".)");
}

PlatformError::PlatformError(std::string_view domain, std::int64_t code, ErrorDictionary userInfo)
    : PlatformError(
          std::make_shared<const ErrorObject>(std::string(domain), code, std::move(userInfo))) {}

PlatformError::PlatformError(ErrorRef object) : object_(std::move(object)) {
    if (object_ == nullptr) fatalError("An error without its object was thrown");
    what_ = object_->localizedDescription();
}

PlatformError PlatformError::described(std::string_view domain,
                                       std::int64_t code,
                                       std::string description) {
    return {
        domain,
        code,
        ErrorDictionary({{std::string(errorKey::localizedDescription), std::move(description)}})};
}

PlatformError PlatformError::fileRead(std::string_view path, int errorNumber) {
    return fileError(path, errorNumber, readFailure(spokenPath(path), errorNumber));
}

PlatformError PlatformError::fileWrite(std::string_view path, int errorNumber) {
    return fileError(path, errorNumber, writeFailure(spokenPath(path), errorNumber));
}

std::string PlatformError::localizedDescription() const {
    return what_;
}

}  // namespace kelto
