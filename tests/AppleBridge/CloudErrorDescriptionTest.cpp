#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "tests/AppleBridge/ErrorTree.hpp"

namespace kelto {
namespace {

constexpr const char* other = "OtherDomain";

std::string described(const ErrorTree& tree) {
    return cloudErrorDescription(tree.ref());
}

ErrorTree batchFailure(std::string text) {
    return ErrorTree::cloud(22).saying(std::move(text));
}

TEST(CloudErrorDescription, OfABridgeErrorIsItsMessage) {
    EXPECT_EQ(cloudErrorDescription(BridgeError("Invalid bridge request.")),
              "Invalid bridge request.");
}

TEST(CloudErrorDescription, OfABridgeErrorWithoutAMessageIsEmpty) {
    EXPECT_EQ(cloudErrorDescription(BridgeError("")), "");
}

TEST(CloudErrorDescription, OfAPlatformErrorIsItsSentence) {
    EXPECT_EQ(cloudErrorDescription(PlatformError::described(other, 1, "It failed.")),
              "It failed.");
}

TEST(CloudErrorDescription, OfAnyOtherExceptionIsWhatItSays) {
    EXPECT_EQ(cloudErrorDescription(std::runtime_error("out of luck")), "out of luck");
}

TEST(CloudErrorDescription, MarksACloudErrorWithItsCode) {
    EXPECT_EQ(described(ErrorTree::cloud(9)),
              "The operation couldn’t be completed. (CKErrorDomain error 9.) (CloudKit 9)");
}

TEST(CloudErrorDescription, WritesANegativeCodeWithItsSign) {
    EXPECT_EQ(described(ErrorTree::cloud(-3).saying("x")), "x (CloudKit -3)");
}

TEST(CloudErrorDescription, MarksNoErrorOfAnotherDomain) {
    EXPECT_EQ(described(ErrorTree(other, 9).saying("x")), "x");
}

TEST(CloudErrorDescription, PrefersTheDescriptionOverTheCloudsOwn) {
    auto error = ErrorTree::cloud(1).with(errorKey::cloudKitDescription, "the cloud's own");
    EXPECT_EQ(described(error), "the cloud's own (CloudKit 1)");
    EXPECT_EQ(described(error.saying("description")), "description (CloudKit 1)");
}

TEST(CloudErrorDescription, PassesOverTextsThatAreNone) {
    const auto error = ErrorTree::cloud(1)
                           .with(errorKey::localizedDescription, std::monostate())
                           .with(errorKey::cloudKitDescription, ErrorDictionary());
    EXPECT_EQ(described(error),
              "The operation couldn’t be completed. (CKErrorDomain error 1.) (CloudKit 1)");
}

TEST(CloudErrorDescription, OfAPartialFailureIsThatOfTheItemThatCausedIt) {
    const auto failure = ErrorTree::cloud(2).saying("partial").withItems(
        {batchFailure("batch"), ErrorTree::cloud(14).saying("conflict"), batchFailure("batch")});
    EXPECT_EQ(described(failure), "conflict (CloudKit 14)");
}

TEST(CloudErrorDescription, KeepsBatchFailuresWhenThereIsNothingElse) {
    const auto failure = ErrorTree::cloud(2).saying("partial").withItems(
        {batchFailure("batch"), batchFailure("batch"), batchFailure("batch")});
    EXPECT_EQ(described(failure), "batch (CloudKit 22)");
}

TEST(CloudErrorDescription, DropsNoErrorOfAnotherDomainForItsCode) {
    const auto failure = ErrorTree::cloud(2).withItems(
        {ErrorTree(other, 22).saying("kept"), ErrorTree::cloud(14).saying("conflict")});
    EXPECT_EQ(described(failure), "conflict (CloudKit 14); kept");
}

TEST(CloudErrorDescription, ShowsTheFirstThreeOfFiveTexts) {
    const auto failure = ErrorTree(other, 1).withItems({ErrorTree(other, 2).saying("e"),
                                                        ErrorTree(other, 2).saying("b"),
                                                        ErrorTree(other, 2).saying("d"),
                                                        ErrorTree(other, 2).saying("a"),
                                                        ErrorTree(other, 2).saying("c")});
    EXPECT_EQ(described(failure), "a; b; c");
}

TEST(CloudErrorDescription, SortsByUnicodeScalarValues) {
    // UTF-16 would put the emoji (surrogates D83D DE00) before U+FF5E; a locale would put "a"
    // first.
    const auto failure = ErrorTree(other, 1).withItems({ErrorTree(other, 2).saying("\U0001F600"),
                                                        ErrorTree(other, 2).saying("\uFF5E"),
                                                        ErrorTree(other, 2).saying("Z"),
                                                        ErrorTree(other, 2).saying("a")});
    EXPECT_EQ(described(failure), "Z; a; \uFF5E");
}

TEST(CloudErrorDescription, SortsByTheComposedForm) {
    // Decomposed, "e" with an accent would stand before "f"; composed, it is U+00E9.
    const auto failure = ErrorTree(other, 1).withItems(
        {ErrorTree(other, 2).saying("e\u0301"), ErrorTree(other, 2).saying("f")});
    EXPECT_EQ(described(failure), "f; e\u0301");
}

TEST(CloudErrorDescription, ShowsCanonicallyEquivalentTextsOnce) {
    const auto failure = ErrorTree(other, 1).withItems(
        {ErrorTree(other, 2).saying("caf\u00E9"), ErrorTree(other, 2).saying("cafe\u0301")});
    EXPECT_EQ(described(failure), "caf\u00E9");
}

TEST(CloudErrorDescription, TellsTheSameTextWithAndWithoutACodeApart) {
    const auto failure = ErrorTree(other, 1).withItems(
        {ErrorTree(other, 7).saying("x"), ErrorTree::cloud(7).saying("x")});
    EXPECT_EQ(described(failure), "x; x (CloudKit 7)");
}

TEST(CloudErrorDescription, GoesDownToTheUnderlyingError) {
    EXPECT_EQ(described(ErrorTree(other, 1).saying("above").causedBy(
                  ErrorTree::cloud(3).saying("below"))),
              "below (CloudKit 3)");
}

TEST(CloudErrorDescription, TakesTheItemsAndTheUnderlyingErrorTogether) {
    const auto failure = ErrorTree::cloud(2)
                             .causedBy(ErrorTree(other, 1).saying("cause"))
                             .withItems({ErrorTree(other, 1).saying("item")});
    EXPECT_EQ(described(failure), "cause; item");
}

TEST(CloudErrorDescription, IgnoresItemsWhenOneOfThemIsNoError) {
    ErrorDictionary items;
    items.entries.emplace_back("a", ErrorTree(other, 1).saying("item").ref());
    items.entries.emplace_back("b", "no error");
    EXPECT_EQ(described(ErrorTree(other, 1).saying("self").with(errorKey::partialErrorsByItemId,
                                                                std::move(items))),
              "self");
}

TEST(CloudErrorDescription, IgnoresItemsThatAreEmptyOrNoDictionary) {
    EXPECT_EQ(described(ErrorTree(other, 1).saying("empty").withItems({})), "empty");
    EXPECT_EQ(described(ErrorTree(other, 1).saying("text").with(errorKey::partialErrorsByItemId,
                                                                "no dictionary")),
              "text");
}

TEST(CloudErrorDescription, IgnoresAnUnderlyingValueThatIsNoError) {
    EXPECT_EQ(described(ErrorTree(other, 1).saying("self").with(errorKey::underlyingError, "text")),
              "self");
}

TEST(CloudErrorDescription, OfAnErrorThatCausesItselfIsItsTextOnce) {
    auto error = ErrorTree(other, 1).saying("cycle");
    error.causedBy(error);
    EXPECT_EQ(described(error), "cycle");
    error.object().userInfo.entries.clear();  // else the cycle keeps itself alive
}

TEST(CloudErrorDescription, EndsAtTheLastErrorOfALongerCycle) {
    auto first = ErrorTree(other, 1).saying("first");
    auto second = ErrorTree(other, 1).saying("second");
    first.causedBy(second);
    second.causedBy(first);
    EXPECT_EQ(described(first), "second");
    first.object().userInfo.entries.clear();
}

TEST(CloudErrorDescription, CountsAnErrorThatIsReachedTwiceOnce) {
    const auto shared = ErrorTree(other, 1).saying("shared");
    const auto failure =
        ErrorTree(other, 1).withItems({ErrorTree(other, 1).saying("left").causedBy(shared),
                                       ErrorTree(other, 1).saying("right").causedBy(shared)});
    // The second way finds nothing new below it, and so speaks for itself.
    EXPECT_EQ(described(failure), "right; shared");
}

/// A chain of causes whose error at depth n says "n"; the deepest has the given depth.
ErrorTree chainDownTo(int deepest) {
    auto error = ErrorTree(other, 1).saying(std::to_string(deepest));
    for (int depth = deepest - 1; depth >= 0; --depth) {
        error = ErrorTree(other, 1).saying(std::to_string(depth)).causedBy(error);
    }
    return error;
}

TEST(CloudErrorDescription, LooksAtTwelveLevels) {
    EXPECT_EQ(described(chainDownTo(11)), "11");
}

TEST(CloudErrorDescription, TakesTheErrorAtTheLimitForALeaf) {
    EXPECT_EQ(described(chainDownTo(12)), "11");
    EXPECT_EQ(described(chainDownTo(40)), "11");
}

TEST(CloudErrorDescription, VisitsEachErrorOfAWideGraphOnce) {
    // Each level leads to the next one a hundred times: 100 to the power of 11 ways to the bottom.
    auto error = ErrorTree(other, 1).saying("bottom");
    for (int level = 0; level < 11; ++level) {
        error = ErrorTree(other, 1).saying("~").withItems(std::vector<ErrorTree>(100, error));
    }
    EXPECT_EQ(described(error), "bottom");
}

TEST(PlatformForm, OfAPlatformErrorIsItsOwnObject) {
    const PlatformError error(other, 5);
    EXPECT_EQ(platformForm(error), error.object());
}

TEST(PlatformForm, OfABridgeErrorHasTheMessageAsDescription) {
    EXPECT_EQ(platformForm(BridgeError("no"))->localizedDescription(), "no");
}

}  // namespace
}  // namespace kelto
