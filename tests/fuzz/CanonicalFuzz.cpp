#include <bit>
#include <cmath>
#include <string>

#include "kelto/AppleBridge/FileFingerprint.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/foundation/TextBuffer.hpp"
#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/InputReader.hpp"

namespace kelto {

namespace {

void writeNumbers(InputReader& input) {
    const auto integer = static_cast<std::int64_t>(input.number(8));
    std::string text;
    appendJsonInteger(text, integer);
    require(JsonValue::parse(text).number()->integer() == integer, "an integer reads back equal");

    const double real = std::bit_cast<double>(input.number(8));
    if (!std::isfinite(real)) return;
    text.clear();
    appendJsonDouble(text, real);
    const auto readBack = JsonValue::parse(text).number()->real();
    require(readBack && *readBack == real, "a double reads back equal");
    std::string again;
    appendJsonDouble(again, *readBack);
    require(again == text || real == 0, "a double is written the same again");
}

void writeText(const std::string& text) {
    std::string json;
    appendJsonString(json, text);
    TextBuffer buffer;
    appendJsonString(buffer, text);
    require(buffer.view() == json, "both writers write the same");
    require(*JsonValue::parse(json).string() == text, "a text reads back equal");
}

bool isSorted(const JsonMembers& members) {
    for (std::size_t i = 1; i < members.size(); ++i) {
        if (members[i - 1].first >= members[i].first) return false;
    }
    return true;
}

}  // namespace

void fuzzCanonical(std::string_view bytes) {
    InputReader input(bytes);
    writeNumbers(input);
    FileFacts facts;
    const double moment =
        static_cast<double>(static_cast<std::int64_t>(input.number(6)) - (1LL << 40));
    if (input.byte() % 2 == 1) facts.trashed = Date::fromMilliseconds(moment);
    if (input.byte() % 2 == 1) facts.data = Payload{sha256(bytesOf(input.rest()))};
    const std::string kind = repairedUtf8(input.line());
    const std::string title = repairedUtf8(input.line());
    const std::string content = repairedUtf8(input.line());
    const std::string url = repairedUtf8(input.line());
    const std::string name = repairedUtf8(input.rest());
    facts.kind = kind;
    facts.title = title;
    facts.content = content;
    facts.url = url;
    facts.name = name;
    writeText(name);

    const std::string json = canonicalJson(facts);
    const JsonValue read = JsonValue::parse(json);
    require(read.text() == json, "written, read and written again gives the same bytes");
    require(isSorted(*read.object()), "the keys stand in their order");
    require(*read.member("name")->string() == name && *read.member("title")->string() == title &&
                *read.member("content")->string() == content &&
                *read.member("url")->string() == url && *read.member("kind")->string() == kind,
            "no text is changed");
    require(fileFingerprint(facts) == sha256(bytesOf(json)).hex(),
            "the fingerprint is the digest of the canonical text");
}

}  // namespace kelto
