#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/Snapshot.hpp"
#include "tools/keltoctl/Suggestion.hpp"

namespace kelto::ctl {
namespace {

using testing::HasSubstr;

TEST(SlipsBetween, CountsLettersAndExchangedNeighbours) {
    EXPECT_EQ(slipsBetween("list", "list"), 0U);
    EXPECT_EQ(slipsBetween("lst", "list"), 1U);
    EXPECT_EQ(slipsBetween("lisst", "list"), 1U);
    EXPECT_EQ(slipsBetween("lost", "list"), 1U);
    EXPECT_EQ(slipsBetween("lsit", "list"), 1U);
    EXPECT_EQ(slipsBetween("", "list"), 4U);
    EXPECT_EQ(slipsBetween("list", ""), 4U);
    EXPECT_EQ(slipsBetween("ca", "abc"), 3U) << "each letter is touched once";
}

TEST(Closest, FindsTheNearestAndNothingFarAway) {
    const std::vector<std::string> commands = {"list", "edit", "export", "exchange", "tree"};
    EXPECT_EQ(closest("lsit", commands), "list");
    EXPECT_EQ(closest("exprot", commands), "export");
    EXPECT_EQ(closest("excange", commands), "exchange");
    EXPECT_EQ(closest("frobnicate", commands), std::nullopt);
    EXPECT_EQ(closest("x", {"tree"}), std::nullopt);
}

ToolDescription tool() {
    return {.version = "1",
            .options = {{.names = {"--json"}}},
            .commands = {{.words = {"list"}, .options = {{.names = {"--starred"}}}},
                         {.words = {"add"}, .subcommands = {"note", "quote"}},
                         {.words = {"add", "note"}, .options = {{.names = {"--title"}}}}}};
}

TEST(UnknownWord, IsTakenForTheCommandThatItResembles) {
    EXPECT_EQ(unknownWordSentence(tool(), {}, "lits"),
              "“lits” is not a command; did you mean “list”?");
    EXPECT_EQ(unknownWordSentence(tool(), {"add"}, "qoute"),
              "“qoute” is not a command; did you mean “quote”?");
    EXPECT_EQ(unknownWordSentence(tool(), {}, "bogus"),
              "“bogus” is not a command; “keltoctl --help” shows the commands.");
}

TEST(UnknownWord, IsTakenForAnOptionOfItsCommandOrOfAll) {
    EXPECT_THAT(unknownWordSentence(tool(), {"list"}, "--stared"), HasSubstr("mean “--starred”?"));
    EXPECT_THAT(unknownWordSentence(tool(), {"list"}, "--jsn"), HasSubstr("mean “--json”?"));
    EXPECT_THAT(unknownWordSentence(tool(), {"add", "note"}, "--titel=x"),
                HasSubstr("mean “--title”?"));
    EXPECT_EQ(unknownWordSentence(tool(), {"list"}, "--title"),
              "“--title” is no option of “keltoctl list”; “keltoctl list --help” shows the "
              "options.");
}

TEST(UnknownWord, BehindACommandThatTakesNoMoreIsOneTooMany) {
    EXPECT_EQ(unknownWordSentence(tool(), {"list"}, "extra"),
              "“keltoctl list” takes no further argument “extra”; “keltoctl list --help” shows "
              "what it takes.");
}

TEST(AnIdentifier, ThatIsNotUniqueNamesThoseThatBeginWithIt) {
    const Snapshot library = Snapshot::parse(R"({"records":[
        {"recordType":"Thing","uuid":"abcdef01-1","kind":"note","title":"Evening"},
        {"recordType":"Project","uuid":"abcdef01-2","name":"Photos"},
        {"recordType":"Thing","uuid":"ffffffff-1","kind":"note","title":"Other"}]})");
    try {
        (void)library.item("abc");
        FAIL() << "it is not unique";
    } catch (const Refusal& refusal) {
        EXPECT_STREQ(refusal.what(),
                     "“abc” is the beginning of 2 identifiers; write more of the one you mean: "
                     "abcdef01-1 (“Evening”), abcdef01-2 (“Photos”).");
    }
    EXPECT_EQ(library.item("f").id(), "ffffffff-1");
}

}  // namespace
}  // namespace kelto::ctl
