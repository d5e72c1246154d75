#include "tests/random/HistoryPools.hpp"

#include <limits>

namespace kelto::history::pools {

namespace {

std::vector<std::string> ids(const std::string& lastDigits, std::size_t count) {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back("a0b1c2d3-e4f5-4678-9abc-" + lastDigits + std::to_string(10 + i));
    }
    return list;
}

/// Bytes that do not repeat within a page.
std::string noise(std::size_t size, unsigned seed) {
    std::string bytes;
    bytes.reserve(size);
    unsigned state = seed;
    while (bytes.size() < size) {
        state = state * 1664525U + 1013904223U;
        bytes.push_back(static_cast<char>(state >> 24));
    }
    return bytes;
}

}  // namespace

const std::vector<std::string>& projectIds() {
    static const auto list = ids("00000000ab", 5);
    return list;
}

const std::vector<std::string>& tagIds() {
    static const auto list = ids("00000000ab", 4);
    return list;
}

const std::vector<std::string>& thingIds() {
    static const auto list = ids("00000000ab", 9);
    return list;
}

const std::vector<JsonValue>& brokenIds() {
    static const std::vector<JsonValue> list = {
        "",
        "a0b1c2d3e4f546789abc00000000ab10",
        "{a0b1c2d3-e4f5-4678-9abc-00000000ab10}",
        "a0b1c2d3-e4f5-4678-9abc-00000000ab1",
        "a0b1c2d3-e4f5-4678-9abc-00000000ab10 ",
        "a0b1c2d3-e4f5-4678-9abc-00000000ab1g",
        "a0b1c2d3e-4f5-4678-9abc-00000000ab10",
        5,
        true,
        nullptr,
        JsonElements{"a0b1c2d3-e4f5-4678-9abc-00000000ab10"}};
    return list;
}

const std::vector<std::string>& texts() {
    static const std::vector<std::string> list = {
        "",
        "Plan",
        "Plan (iCloud conflict)",
        "5",
        "true",
        "two words / a slash \\ and \"quotes\"",
        "été, e\u0301te\u0301",
        "日本語 😀",
        "https://example.org/a?b=c#d",
        std::string("nul\0between", 11),
        "\x01\x1f\b\t\n\f\r\x7f\u0085\u2028\u2029\ufeff",
        std::string(300, 'x'),
    };
    return list;
}

const std::vector<std::string>& kinds() {
    static const std::vector<std::string> list = {
        "note", "image", "video", "link", "quote", "document", "Note", "", "unknown"};
    return list;
}

const std::vector<std::string>& fileNames() {
    static const std::vector<std::string> list = {
        "",           "README",    "notes.final.md", ".hidden", ".hidden.txt", "ends.",
        "a..b",       "..a",       "...a",           "...",     ".",           "..",
        "two. words", "a.b c",     "a.b/",           "a/b.c",   "a.b/c",       "a/.b",
        "/",          "日本.日本", "a.\u200eb",      "a/..b",   "a.b//",       "photo.JPG",
    };
    return list;
}

const std::vector<std::string>& metadata() {
    static const std::vector<std::string> list = {
        "",
        "{}",
        R"({"author":"Ada"})",
        R"({"author":"Ada","linkedRelativePath":"a/b.md"})",
        R"( { "linkedRelativePath" : null , "stars" : 5.0 , "ratio": 1e400 } )",
        R"({"linkedRelativePath":1,"z":{"linkedRelativePath":2},"a":[1,2.50,"\/"],"z":3})",
        R"({"linkedRelativePath":"only"})",
        R"({"LinkedRelativePath":"kept","text":"\u00e9\u0001"})",
        R"(["linkedRelativePath"])",
        R"("linkedRelativePath")",
        "5",
        R"({"linkedRelativePath":1,})",
        "not JSON",
    };
    return list;
}

const std::vector<std::string>& numbers() {
    static const std::vector<std::string> list = {"0",
                                                  "1",
                                                  "-1",
                                                  "5",
                                                  "5.0",
                                                  "5e0",
                                                  "0.05e2",
                                                  "5.5",
                                                  "-0",
                                                  "-0.0",
                                                  "0.1",
                                                  "1.7777777777777777",
                                                  "0.30000000000000004",
                                                  "0.0001",
                                                  "0.00009999",
                                                  "1.5e-7",
                                                  "1e-400",
                                                  "-1e-400",
                                                  "1e21",
                                                  "1.25e300",
                                                  "1e400",
                                                  "-1e400",
                                                  "9007199254740992",
                                                  "9007199254740993",
                                                  "9007199254740994.5",
                                                  "-9007199254740994",
                                                  "9223372036854775807",
                                                  "9223372036854775808",
                                                  "-9223372036854775808",
                                                  "-9223372036854775809",
                                                  "123456789012345678901234567890",
                                                  "12345678901234567.25",
                                                  "5e-324",
                                                  "1.7976931348623157e308"};
    return list;
}

const std::vector<std::string>& milliseconds() {
    static const std::vector<std::string> list = {"0",
                                                  "-0.0",
                                                  "1",
                                                  "1500",
                                                  "1.5e3",
                                                  "0.5",
                                                  "-0.5",
                                                  "62.5",
                                                  "-62.5",
                                                  "0.49999999999999994",
                                                  "1700000000000",
                                                  "1700000000000.25",
                                                  "1700000000000.5",
                                                  "1700000000001",
                                                  "1699999999999.75",
                                                  "1e400",
                                                  "9007199254740993",
                                                  "-62135596800000",
                                                  "9000000000000000000"};
    return list;
}

const std::vector<double>& timeSteps() {
    static const std::vector<double> list = {
        -86400000, -1000, -1, -0.5, -0.25, 0, 0, 0, 0.25, 0.5, 1, 1, 1000, 1000, 86400000};
    return list;
}

const std::vector<JsonValue>& strangers() {
    static const std::vector<JsonValue> list = {
        nullptr, true, false, JsonElements{}, JsonElements{"x", 5}, JsonMembers{{"deleted", true}}};
    return list;
}

const std::vector<Content>& contents() {
    static const std::vector<Content> list = {contentOf(""),
                                              contentOf("aaaa"),
                                              contentOf("bbbb"),
                                              contentOf("cccc"),
                                              contentOf(noise(300, 1)),
                                              contentOf(noise(5000, 2)),
                                              contentOf(noise(65536, 3)),
                                              contentOf(noise(65537, 4)),
                                              contentOf(noise(200000, 5))};
    return list;
}

const std::vector<JsonValue>& unknownTypes() {
    static const std::vector<JsonValue> list = {
        "project", "THING", "Note", "", "Thing ", 5, true, nullptr, JsonElements{"Thing"}};
    return list;
}

const std::vector<std::string>& unreadKeys() {
    static const std::vector<std::string> list = {"Deleted",
                                                  "UUID",
                                                  "metadataJSON",
                                                  "linkedfolderowner",
                                                  "fingerprint",
                                                  "fileFingerprint",
                                                  "",
                                                  "titl",
                                                  "titles",
                                                  "children",
                                                  "things"};
    return list;
}

}  // namespace kelto::history::pools
