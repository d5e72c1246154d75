#include "kelto/foundation/JsonReader.hpp"

#include <algorithm>
#include <cstring>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/HexDigits.hpp"
#include "kelto/foundation/JsonToken.hpp"

namespace kelto {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::int64_t unreadableText = 3840;  // NSPropertyListReadCorruptError, for JSON as well

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// The one byte of the text that an error may show.
std::string shown(char c) {
    if (c > ' ' && c < '\x7F') return "“" + std::string(1, c) + "”";
    std::string byte = "byte 0x00";
    putHexPair(&byte[byte.size() - 2], static_cast<std::uint8_t>(c), upperCaseHexPairs);
    return byte;
}

}  // namespace

JsonReader::JsonReader(std::string_view text)
    : begin_(text.data()), cursor_(begin_), end_(begin_ + text.size()) {
    if (text.starts_with(byteOrderMark)) cursor_ += byteOrderMark.size();
}

void JsonReader::skipBlanks() {
    while (cursor_ != end_ && isBlank(*cursor_)) ++cursor_;
}

void JsonReader::enter(bool array) {
    if (depth_ == depthLimit) failAt(cursor_, "more than 512 objects and arrays are nested");
    ++cursor_;
    arrays_[depth_] = array;
    ++depth_;
    place_ = Place::firstChild;
}

void JsonReader::enterObject() {
    requireValue();
    if (peek() != '{') failAtKind();
    enter(false);
}

void JsonReader::enterArray() {
    requireValue();
    if (peek() != '[') failAtKind();
    enter(true);
}

bool JsonReader::nextElement() {
    requireInside(true);
    const char next = peek();
    if (next == ']') {
        leave();
        return false;
    }
    if (place_ == Place::afterValue) {
        if (next != ',') failAtSeparator("]");
        ++cursor_;
        if (peek() == ']') failAt(cursor_, "an element after a comma is missing");
    }
    place_ = Place::value;
    return true;
}

std::string_view JsonReader::readUnusualString(const char* first, const char* special) {
    const JsonTokenExtent extent = scanJsonString(special, end_);
    if (extent.fault != nullptr) failAt(extent.end, extent.fault);
    cursor_ = extent.end;
    const std::string_view raw(first, static_cast<std::size_t>(extent.end - 1 - first));
    if (!extent.hasEscapes) return raw;
    char* const decoded = decoded_.reserve(raw.size());
    const auto size = static_cast<std::size_t>(decodeJsonString(raw, decoded) - decoded);
    decoded_.commit(size);
    return {decoded, size};
}

void JsonReader::skipString() {
    const JsonTokenExtent extent = scanJsonString(cursor_ + 1, end_);
    if (extent.fault != nullptr) failAt(extent.end, extent.fault);
    cursor_ = extent.end;
}

std::string_view JsonReader::numberToken() {
    if (kind() != JsonKind::number) failAtKind();
    const JsonTokenExtent extent = scanJsonNumber(cursor_, end_);
    if (extent.fault != nullptr) failAt(extent.end, extent.fault);
    const std::string_view token(cursor_, static_cast<std::size_t>(extent.end - cursor_));
    cursor_ = extent.end;
    place_ = Place::afterValue;
    return token;
}

JsonNumberValue JsonReader::number() {
    return readJsonNumber(numberToken());
}

void JsonReader::skipWord(std::string_view word) {
    const std::string_view rest(cursor_, static_cast<std::size_t>(end_ - cursor_));
    if (!rest.starts_with(word)) {
        const auto differing = std::mismatch(rest.begin(), rest.end(), word.begin(), word.end());
        failAt(cursor_ + (differing.first - rest.begin()), "a word is not true, false or null");
    }
    cursor_ += word.size();
    place_ = Place::afterValue;
}

bool JsonReader::boolean() {
    if (kind() != JsonKind::boolean) failAtKind();
    const bool value = *cursor_ == 't';
    skipWord(value ? "true" : "false");
    return value;
}

void JsonReader::null() {
    if (kind() != JsonKind::null) failAtKind();
    skipWord("null");
}

std::size_t JsonReader::offset() {
    if (place_ == Place::value) skipBlanks();
    return static_cast<std::size_t>(cursor_ - begin_);
}

void JsonReader::passOver(std::size_t size) {
    requireValue();
    skipBlanks();
    if (size > static_cast<std::size_t>(end_ - cursor_)) misuse();
    cursor_ += size;
    place_ = Place::afterValue;
}

void JsonReader::skipValue() {
    const std::size_t outside = depth_;
    do {
        switch (kind()) {
            case JsonKind::object:
                enter(false);
                break;
            case JsonKind::array:
                enter(true);
                break;
            case JsonKind::string:
                skipString();
                place_ = Place::afterValue;
                break;
            case JsonKind::number:
                static_cast<void>(numberToken());
                break;
            case JsonKind::boolean:
                static_cast<void>(boolean());
                break;
            case JsonKind::null:
                null();
                break;
        }
        // To the next value inside, leaving every container that has no more.
        while (depth_ != outside) {
            if (arrays_[depth_ - 1]) {
                if (nextElement()) break;
            } else if (stepToKey()) {
                skipString();
                passColon();
                break;
            }
        }
    } while (depth_ != outside);
}

void JsonReader::requireContainer() {
    const JsonKind next = kind();
    if (next == JsonKind::object || next == JsonKind::array) return;
    const char* const value = cursor_;
    skipValue();
    finish();
    failAt(value, "an object or an array must stand here");
}

void JsonReader::finish() {
    if (depth_ != 0 || place_ != Place::afterValue) misuse();
    skipBlanks();
    if (cursor_ != end_) failAt(cursor_, shown(*cursor_) + " stands after the end of the value");
}

void JsonReader::failAt(const char* at, std::string_view cause) const {
    const std::string_view before(begin_, static_cast<std::size_t>(at - begin_));
    const std::size_t lineBreak = before.rfind('\n');
    const std::size_t lineStart = lineBreak == before.npos ? 0 : lineBreak + 1;
    std::string sentence = "The JSON text is not valid at line ";
    sentence += std::to_string(std::count(before.begin(), before.end(), '\n') + 1);
    sentence += ", column " + std::to_string(before.size() - lineStart + 1);
    sentence += " (byte " + std::to_string(before.size()) + "): ";
    sentence.append(cause) += '.';
    throw PlatformError(
        errorDomain::cocoa,
        unreadableText,
        ErrorDictionary({{std::string(errorKey::localizedDescription), std::move(sentence)},
                         {std::string(errorKey::debugDescription), std::string(cause)}}));
}

void JsonReader::failAtValue() const {
    if (cursor_ == end_) {
        const bool empty = depth_ == 0;
        failAt(cursor_, empty ? "the text is empty" : "the text ends where a value must stand");
    }
    const bool missing = std::string_view(",:]}").find(*cursor_) != std::string_view::npos;
    failAt(cursor_, missing ? "a value is missing" : shown(*cursor_) + " does not begin a value");
}

void JsonReader::failAtKey() const {
    if (place_ == Place::firstChild) failAt(cursor_, "a key or “}” is missing");
    failAt(cursor_, "a key after a comma is missing");
}

void JsonReader::failAtSeparator(std::string_view closing) const {
    failAt(cursor_, "a comma or “" + std::string(closing) + "” is missing");
}

void JsonReader::failAtKind() const {
    // A text that is at fault anyway is no bug of the caller's.
    const char next = cursor_ == end_ ? '\0' : *cursor_;
    if (detail::jsonKindOfByte[static_cast<std::uint8_t>(next)] == detail::noJsonKind)
        failAtValue();
    misuse();
}

void JsonReader::misuse() {
    fatalError("A JSON text was read in an order or as a kind that it does not have");
}

}  // namespace kelto
