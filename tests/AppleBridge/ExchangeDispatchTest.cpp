#include <coroutine>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/ExchangeDispatch.hpp"
#include "tests/support/FakePlatform.hpp"

namespace kelto {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct Answer {
    std::intptr_t context;
    std::string response;
    friend bool operator==(const Answer&, const Answer&) = default;
};

void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.context << ": " << answer.response;
}

// A C callback knows its test only by the context, which is itself under test here.
std::vector<Answer> answers;

void record(std::intptr_t context, const char* response) {
    answers.push_back({context, response});
}

Task<LargeText> echo(LargeText request) {
    co_return request;
}

template <typename Error>
ExchangeFunction throwing(Error error) {
    return [error](LargeText) -> Task<LargeText> {
        throw error;
        co_return "";
    };
}

/// Waits where an exchange waits for the account, until the test goes on with it.
struct Waiting {
    std::vector<std::coroutine_handle<>>& waiting;

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> exchange) { waiting.push_back(exchange); }
    void await_resume() const noexcept {}
};

class ExchangeDispatch : public testing::Test {
protected:
    ExchangeDispatch() { answers.clear(); }

    void dispatch(const ExchangeFunction& exchange,
                  std::string_view request,
                  std::intptr_t context = 1) {
        dispatchExchange(fake.platform(), exchange, intake, request, context, &record);
    }

    FakePlatform fake;
    RequestIntake intake;
};

TEST_F(ExchangeDispatch, HandsTheResponseToTheCallback) {
    dispatch(echo, R"({"version":1})", 42);
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{42, R"({"version":1})"}));
}

TEST_F(ExchangeDispatch, StartsNothingBeforeTheMainThreadGetsToIt) {
    bool started = false;
    dispatch(
        [&started](LargeText request) {
            started = true;
            return echo(std::move(request));
        },
        "{}");
    EXPECT_FALSE(started);
    EXPECT_THAT(answers, IsEmpty());
    fake.mainExecutor->runUntilIdle();
    EXPECT_TRUE(started);
}

TEST_F(ExchangeDispatch, PostsOneTaskForEachExchange) {
    dispatch(echo, "1");
    dispatch(echo, "2");
    EXPECT_EQ(fake.mainExecutor->pending(), 2U);
    EXPECT_EQ(fake.mainExecutor->runUntilIdle(), 2U);
}

TEST_F(ExchangeDispatch, CopiesTheRequestBeforeItReturns) {
    std::string buffer = "the host's own buffer, longer than a short string";
    dispatch(echo, buffer);
    buffer.assign(buffer.size(), '#');
    fake.mainExecutor->runUntilIdle();
    EXPECT_EQ(answers.at(0).response, "the host's own buffer, longer than a short string");
}

TEST_F(ExchangeDispatch, RepairsARequestThatIsNotUtf8) {
    dispatch(echo, "a\xE2\x80z");
    fake.mainExecutor->runUntilIdle();
    EXPECT_EQ(answers.at(0).response, "a\uFFFDz");
}

TEST_F(ExchangeDispatch, RepairsTheFirstBytesOfARequestToo) {
    for (const std::string& inside : {"\x80"s, "\xBF\x80"s, "\x80\x80\x80"s, "\x80\x80\x80\x80"s}) {
        answers.clear();
        dispatch(echo, inside + "{}");
        fake.mainExecutor->runUntilIdle();
        std::string repaired;
        for (std::size_t i = 0; i < inside.size(); ++i) repaired += "\uFFFD";
        EXPECT_EQ(answers.at(0).response, repaired + "{}");
    }
}

TEST_F(ExchangeDispatch, PassesAnEmptyRequestOn) {
    dispatch(echo, "");
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{1, ""}));
}

class Contexts : public ExchangeDispatch, public testing::WithParamInterface<std::intptr_t> {};

TEST_P(Contexts, ComeBackAsTheyWere) {
    dispatch(echo, "{}", GetParam());
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{GetParam(), "{}"}));
}

INSTANTIATE_TEST_SUITE_P(Values,
                         Contexts,
                         testing::Values(0,
                                         -1,
                                         std::numeric_limits<std::intptr_t>::min(),
                                         std::numeric_limits<std::intptr_t>::max()));

TEST_F(ExchangeDispatch, HandsOverTextBeyondAsciiAsUtf8) {
    dispatch(echo, "Syncing with iCloud…");
    fake.mainExecutor->runUntilIdle();
    EXPECT_EQ(answers.at(0).response, "Syncing with iCloud\xE2\x80\xA6");
}

TEST_F(ExchangeDispatch, AnswersARefusalWithTheErrorEnvelope) {
    dispatch(throwing(BridgeError("Invalid bridge request.")), "{}", -7);
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers,
                ElementsAre(Answer{-7, R"({"version":1,"error":"Invalid bridge request."})"}));
}

TEST_F(ExchangeDispatch, AnswersAnyStandardExceptionWithTheErrorEnvelope) {
    dispatch(throwing(std::runtime_error("out of luck")), "{}");
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{1, R"({"version":1,"error":"out of luck"})"}));
}

TEST_F(ExchangeDispatch, AnswersWhateverElseIsThrownWithTheErrorEnvelope) {
    dispatch(throwing(17), "{}");
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers,
                ElementsAre(Answer{
                    1, R"({"version":1,"error":"The exchange failed for an unknown reason."})"}));
}

TEST_F(ExchangeDispatch, AnswersWhenTheExchangeCannotEvenStart) {
    const auto refuse = [](LargeText) -> Task<LargeText> { throw BridgeError("not now"); };
    dispatch(refuse, "{}");
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{1, R"({"version":1,"error":"not now"})"}));
}

TEST_F(ExchangeDispatch, AnswersInTheOrderOfCompletion) {
    std::vector<std::coroutine_handle<>> waiting;
    const ExchangeFunction exchange = [&waiting](LargeText request) -> Task<LargeText> {
        co_await Waiting{waiting};
        co_return request;
    };
    dispatch(exchange, "first", 1);
    dispatch(exchange, "second", 2);
    fake.mainExecutor->runUntilIdle();
    ASSERT_EQ(waiting.size(), 2U);
    EXPECT_THAT(answers, IsEmpty());
    waiting[1].resume();
    waiting[0].resume();
    EXPECT_THAT(answers, ElementsAre(Answer{2, "second"}, Answer{1, "first"}));
}

TEST_F(ExchangeDispatch, AnswersAFailureAfterAWait) {
    std::vector<std::coroutine_handle<>> waiting;
    dispatch(
        [&waiting](LargeText) -> Task<LargeText> {
            co_await Waiting{waiting};
            throw BridgeError("too late");
        },
        "{}");
    fake.mainExecutor->runUntilIdle();
    waiting.at(0).resume();
    EXPECT_THAT(answers, ElementsAre(Answer{1, R"({"version":1,"error":"too late"})"}));
}

TEST_F(ExchangeDispatch, KeepsWhatTheExchangeFunctionHoldsUntilTheAnswer) {
    std::vector<std::coroutine_handle<>> waiting;
    const auto held = std::make_shared<std::string>("held");
    dispatch(
        [&waiting, held](LargeText) -> Task<LargeText> {
            co_await Waiting{waiting};
            co_return *held;
        },
        "{}");
    fake.mainExecutor->runUntilIdle();
    EXPECT_GT(held.use_count(), 1);
    waiting.at(0).resume();
    EXPECT_THAT(answers, ElementsAre(Answer{1, "held"}));
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(ExchangeDispatch, RunsTheExchangeWithoutACallback) {
    bool ran = false;
    const auto exchange = [&ran](LargeText request) {
        ran = true;
        return echo(std::move(request));
    };
    dispatchExchange(fake.platform(), exchange, intake, "{}", 1, nullptr);
    fake.mainExecutor->runUntilIdle();
    EXPECT_TRUE(ran);
}

TEST_F(ExchangeDispatch, MayBeCalledFromAnyThread) {
    std::thread other([&] { dispatch(echo, "elsewhere"); });
    other.join();
    EXPECT_THAT(answers, IsEmpty());
    fake.mainExecutor->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(Answer{1, "elsewhere"}));
}

TEST_F(ExchangeDispatch, MayBeCalledInsideACallback) {
    static Platform platform;  // all that a C callback can reach
    static RequestIntake requests;
    platform = fake.platform();
    const auto askAgain = [](std::intptr_t context, const char* response) {
        record(context, response);
        dispatchExchange(platform, echo, requests, "again", context + 1, &record);
    };
    dispatchExchange(platform, echo, requests, "once", 1, askAgain);
    EXPECT_EQ(fake.mainExecutor->runUntilIdle(), 2U);
    platform = {};
    EXPECT_THAT(answers, ElementsAre(Answer{1, "once"}, Answer{2, "again"}));
}

using ExchangeDispatchDeathTest = ExchangeDispatch;

TEST_F(ExchangeDispatchDeathTest, EndsTheProcessWhenTheAnswerIsNotOnTheMainThread) {
    fake.mainExecutor->answersCurrent = false;
    dispatch(echo, "{}");
    EXPECT_DEATH(fake.mainExecutor->runUntilIdle(),
                 "unexpected executor \\(kelto/AppleBridge:64\\)");
}

}  // namespace
}  // namespace kelto
