// Which texts are JSON, through the way of every request: text that is JSON never stands in the
// way of an exchange, whatever it means; what is none refuses the whole exchange.

#include <memory>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/ExchangeDispatch.hpp"
#include "tests/AppleBridge/JsonConformanceCases.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

using testing::StartsWith;

const char* const notJson = "The JSON text is not valid at line ";

std::string lastAnswer;

void answered(std::intptr_t, const char* response) {
    lastAnswer = response;
}

/// One library for all cases: what is refused changes nothing, and what is taken is told apart by
/// its title.
class JsonConformance : public testing::TestWithParam<JsonCase> {
protected:
    static void SetUpTestSuite() {
        shared = std::make_unique<TestLibrary>();
        (void)shared->exchange();
    }
    static void TearDownTestSuite() { shared.reset(); }

    /// As the C function takes a text: up to its NUL, and repaired.
    static Response exchange(const std::string& text) {
        const ExchangeFunction exchange = [](LargeText request) {
            return shared->store().exchange(std::move(request));
        };
        lastAnswer.clear();
        static RequestIntake intake;
        dispatchExchange(
            shared->platform().platform(), exchange, intake, text.c_str(), 0, answered);
        shared->run();
        return Response(lastAnswer);
    }

    /// A good request, whose thing has this title, with a text in the place of a value that nobody
    /// reads: of the envelope, or of the record.
    static std::string requestWith(std::string_view json, std::string_view title, bool inRecord) {
        RecordBuilder thing = RecordBuilder::thing(firstId).with("updatedAt", ++moment);
        RequestBuilder request;
        if (inRecord) thing.with("extra", "HERE");
        request.record(thing.with("title", title));
        if (!inRecord) request.with("extra", "HERE");
        std::string text = request.text(shared->storePath(), shared->exchangeFolder());
        return text.replace(text.find("\"HERE\""), 6, json);
    }

    static inline std::unique_ptr<TestLibrary> shared;
    static inline int moment = 0;
};

class TakenJson : public JsonConformance {};

TEST_P(TakenJson, IsPassedOverAsAValueThatNobodyReads) {
    for (const bool inRecord : {false, true}) {
        const std::string title = std::string(GetParam().name) + (inRecord ? "Record" : "Envelope");
        const Response response = exchange(requestWith(GetParam().json, title, inRecord));
        EXPECT_EQ(response.error(), "");
        EXPECT_EQ(response.string(firstId, "title"), title);
    }
}

TEST_P(TakenJson, IsNoRequestByItself) {
    EXPECT_EQ(exchange(std::string(GetParam().json)).error(), "Invalid bridge request.");
}

INSTANTIATE_TEST_SUITE_P(Json, TakenJson, testing::ValuesIn(takenJson), caseName<JsonCase>);

class RefusedJson : public JsonConformance {
protected:
    static void expectRefused(const std::string& text) {
        const auto before = filesBelow(shared->groupFolder());
        EXPECT_THAT(exchange(text).error(), StartsWith(notJson));
        EXPECT_EQ(filesBelow(shared->groupFolder()), before) << "nothing is touched";
    }
};

TEST_P(RefusedJson, RefusesTheExchangeAsAValueThatNobodyReads) {
    expectRefused(requestWith(GetParam().json, "never", false));
    expectRefused(requestWith(GetParam().json, "never", true));
}

TEST_P(RefusedJson, RefusesTheExchangeByItself) {
    expectRefused(std::string(GetParam().json));
}

INSTANTIATE_TEST_SUITE_P(Json, RefusedJson, testing::ValuesIn(refusedJson), caseName<JsonCase>);

/// What is JSON, but no document of an exchange.
class ScalarJson : public JsonConformance {};

TEST_P(ScalarJson, IsRefusedAloneAndTakenAsAValue) {
    EXPECT_THAT(exchange(std::string(GetParam().json)).error(), StartsWith("The JSON text"));
    const std::string title = GetParam().name;
    EXPECT_EQ(exchange(requestWith(GetParam().json, title, false)).string(firstId, "title"), title);
}

constexpr JsonCase scalars[] = {
    {"Number", "5"}, {"Text", R"("x")"}, {"Word", "true"}, {"Nothing", "null"}, {"Minus", "-0"}};
INSTANTIATE_TEST_SUITE_P(Json, ScalarJson, testing::ValuesIn(scalars), caseName<JsonCase>);

// --- What stands around a text
// --------------------------------------------------------------------

using JsonFrame = JsonConformance;

TEST_F(JsonFrame, MayBeginWithAByteOrderMark) {
    const std::string text = requestWith("1", "marked", false);
    EXPECT_EQ(exchange("\xEF\xBB\xBF" + text).string(firstId, "title"), "marked");
    EXPECT_THAT(exchange("\xEF\xBB\xBF\xEF\xBB\xBF" + text).error(), StartsWith(notJson));
    EXPECT_THAT(exchange("\xEF\xBB\xBF").error(), StartsWith(notJson));
}

TEST_F(JsonFrame, MayEndInBlanksAndInNothingElse) {
    const std::string text = requestWith("1", "blanks", false);
    EXPECT_EQ(exchange(text + " \t\r\n").string(firstId, "title"), "blanks");
    for (const char* tail : {"x", ",", "]", "}", "\x0C", "\xEF\xBB\xBF", "{}", "//"}) {
        EXPECT_THAT(exchange(text + tail).error(), StartsWith(notJson)) << tail;
    }
}

TEST_F(JsonFrame, EndsAtANul) {
    const std::string text = requestWith("1", "ended", false);
    EXPECT_EQ(exchange(text + std::string("\0x", 2)).string(firstId, "title"), "ended");
    EXPECT_THAT(exchange(std::string("\0", 1) + text).error(), StartsWith(notJson));
    EXPECT_THAT(exchange("").error(), StartsWith(notJson));
}

TEST_F(JsonFrame, IsRefusedInAnotherEncoding) {
    for (const std::string_view text : {std::string_view("\xFF\xFE{\0}\0", 6),
                                        std::string_view("\xFE\xFF\0{\0}", 6),
                                        std::string_view("{\0}\0", 4)}) {
        EXPECT_THAT(exchange(std::string(text)).error(), StartsWith(notJson));
    }
}

/// Bytes that are no UTF-8, and what they are repaired to before anybody reads them.
struct RepairCase {
    const char* name;
    std::string_view bytes;
    std::size_t replacements;
};

class RepairedText : public testing::TestWithParam<RepairCase> {};

TEST_P(RepairedText, IsTakenWithReplacementCharacters) {
    TestLibrary library;
    const ExchangeFunction exchange = [&](LargeText request) {
        return library.store().exchange(std::move(request));
    };
    std::string text = RequestBuilder()
                           .record(RecordBuilder::thing(firstId).with("title", "<HERE>"))
                           .text(library.storePath(), library.exchangeFolder());
    text.replace(text.find("HERE"), 4, GetParam().bytes);
    RequestIntake intake;
    dispatchExchange(library.platform().platform(), exchange, intake, text.c_str(), 0, answered);
    library.run();
    std::string expected = "<";
    for (std::size_t i = 0; i < GetParam().replacements; ++i) expected += "\xEF\xBF\xBD";
    EXPECT_EQ(Response(lastAnswer).string(firstId, "title"), expected + ">");
}

constexpr RepairCase illFormed[] = {
    {"LoneContinuation", "\x80", 1},
    {"TwoContinuations", "\xBF\x80", 2},
    {"NeverUsed", "\xFF\xFE", 2},
    {"TwoBytesCutShort", "\xC3", 1},
    {"ThreeBytesCutShort", "\xE2\x82", 1},
    {"FourBytesCutShort", "\xF0\x9F\x98", 1},
    {"OverlongSlash", "\xC0\xAF", 2},
    {"OverlongNul", "\xC0\x80", 2},
    {"OverlongInThreeBytes", "\xE0\x80\xAF", 3},
    {"OverlongInFourBytes", "\xF0\x80\x80\xAF", 4},
    {"Surrogate", "\xED\xA0\x80", 3},
    {"SurrogatePair", "\xED\xA0\xBD\xED\xB8\x80", 6},
    {"BeyondUnicode", "\xF4\x90\x80\x80", 4},
    {"FiveBytes", "\xF8\x88\x80\x80\x80", 5},
};
INSTANTIATE_TEST_SUITE_P(Json, RepairedText, testing::ValuesIn(illFormed), caseName<RepairCase>);

// --- Depth
// ----------------------------------------------------------------------------------------

TEST_F(JsonFrame, MayBeNestedAsDeepAsTheReaderGoesAndNoDeeper) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    // The request is one level, the records and the record two more.
    EXPECT_EQ(exchange(requestWith(nested(511), "deep", false)).string(firstId, "title"), "deep");
    EXPECT_EQ(exchange(requestWith(nested(509), "deeper", true)).string(firstId, "title"),
              "deeper");
    EXPECT_THAT(exchange(requestWith(nested(512), "no", false)).error(), StartsWith(notJson));
    EXPECT_THAT(exchange(requestWith(nested(510), "no", true)).error(), StartsWith(notJson));
    EXPECT_EQ(exchange(nested(512)).error(), "Invalid bridge request.");
    EXPECT_THAT(exchange(nested(513)).error(), StartsWith(notJson));
}

// --- Repeated keys
// --------------------------------------------------------------------------------

TEST_F(JsonFrame, TakesTheLastOfARepeatedKey) {
    std::string text = requestWith("1", "repeated", false);
    text.insert(1, R"("version":2,"directory":5,"records":"none",)");
    EXPECT_EQ(exchange(text).string(firstId, "title"), "repeated");
    text.insert(text.size() - 1, R"(,"version":2)");
    EXPECT_EQ(exchange(text).error(), "Invalid bridge request.");
}

}  // namespace
}  // namespace kelto
