#include <cstdint>
#include <limits>
#include <new>

#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "tests/AppleBridge/SentenceCases.hpp"

namespace kelto {

namespace {

/// What is refused by its length alone takes no memory: nobody has written into it.
std::string answerToATextOfGigabytes() {
    constexpr std::size_t size = std::size_t{std::numeric_limits<std::uint32_t>::max()} + 1;
    TextBuffer text;
    const char* const start = text.room(size + 1);
    text.commit(start + size);
    try {
        const ExchangeRequest request(LargeText(std::move(text)));
    } catch (const std::exception& error) {
        return cloudErrorDescription(error);
    }
    return "it was read";
}

void runOutOfMemory(TestLibrary& library, RequestBuilder&) {
    library.platform().files->beforeNext(FileOperation::createFolders,
                                         [] { throw std::bad_alloc(); });
}

SentenceCase unreadable(const char* name, const std::string& cause, std::string text) {
    return {name, "…: " + cause + ".", refused(std::move(text))};
}

}  // namespace

std::vector<SentenceCase> requestSentences() {
    return {
        {"AnyFault",
         "The JSON text is not valid at line <line>, column <column> (byte <byte>): <cause>.",
         refused("{\n\"a\" 1}")},
        unreadable("Empty", "the text is empty", ""),
        unreadable("CutBeforeAValue", "the text ends where a value must stand", R"({"a":)"),
        unreadable("CutInAString", "the text ends inside a string", R"({"a)"),
        unreadable("Scalar", "an object or an array must stand here", "true"),
        unreadable("MissingValue", "a value is missing", R"({"a":,"b":1})"),
        unreadable("NoValue", "<character> does not begin a value", R"({"a":x})"),
        unreadable("SecondValue", "<character> stands after the end of the value", "{} {}"),
        unreadable("NoKey", "a key or “}” is missing", "{1:2}"),
        unreadable("CommaBeforeTheEnd", "a key after a comma is missing", R"({"a":1,})"),
        unreadable("CommaBeforeTheBracket", "an element after a comma is missing", "[1,]"),
        unreadable("NoComma", "a comma or “<bracket>” is missing", R"({"a":1 "b":2})"),
        unreadable("NoColon", "a colon after a key is missing", R"({"a" 1})"),
        unreadable("UnknownWord", "a word is not true, false or null", R"({"a":trie})"),
        unreadable("NoDigit", "a digit is missing in a number", R"({"a":1.})"),
        unreadable("LeadingZero", "a number has a zero in front of its digits", R"({"a":01})"),
        unreadable("UnknownEscape", "this escape is unknown", R"({"a":"\x"})"),
        unreadable("ShortEscape", "four hexadecimal digits must follow \\u", R"({"a":"\u12"})"),
        unreadable("HalfAPair", "half of a surrogate pair stands alone", R"({"a":"\ud800"})"),
        unreadable("ControlCharacter",
                   "a control character in a string must be escaped",
                   "{\"a\":\"\n\"}"),
        unreadable("TooDeep",
                   "more than 512 objects and arrays are nested",
                   R"({"a":)" + std::string(512, '[')),
        {"TooLong",
         "The request couldn’t be read because it is over 4 GB long.",
         answerToATextOfGigabytes},
        {"NoMemory",
         "There isn’t enough memory for this exchange. Close other programs, and try again.",
         refusedAfter(runOutOfMemory)},
    };
}

}  // namespace kelto
