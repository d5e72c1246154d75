// The catalogue of sentences for hosts (docs/error-sentences.md) says what the library says: each
// of its sentences is brought about here, and each that the library can say is in it.

#include <algorithm>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/AppleBridge/BridgeRefusal.hpp"
#include "tests/AppleBridge/SentenceCases.hpp"
#include "tests/AppleBridge/SentenceCatalogue.hpp"
#include "tests/support/CaseName.hpp"

namespace kelto {
namespace {

using testing::Contains;

std::vector<SentenceCase> allCases() {
    std::vector<SentenceCase> all;
    for (const auto& cases : {refusalSentences(),
                              requestSentences(),
                              fileSentences(),
                              storeSentences(),
                              damageSentences(),
                              statusSentences()}) {
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

class ErrorSentence : public testing::TestWithParam<SentenceCase> {};

TEST_P(ErrorSentence, IsWhatTheHostGets) {
    const std::string text = GetParam().produce();
    EXPECT_TRUE(isAnnounced(text, GetParam().sentence)) << text;
}

INSTANTIATE_TEST_SUITE_P(ErrorSentences,
                         ErrorSentence,
                         testing::ValuesIn(allCases()),
                         caseName<SentenceCase>);

TEST(ErrorSentences, AreAllInTheCatalogueAndNoOthers) {
    std::set<std::string> produced;
    for (const SentenceCase& sentence : allCases()) produced.insert(sentence.sentence);
    const std::vector<std::string> catalogued = cataloguedSentences();
    EXPECT_EQ(std::set<std::string>(catalogued.begin(), catalogued.end()), produced);
    EXPECT_EQ(catalogued.size(), produced.size()) << "a sentence stands there twice";
}

TEST(ErrorSentences, OfRefusalsStandInTheCatalogueLetterByLetter) {
    const std::vector<std::string> catalogued = cataloguedSentences();
    for (const BridgeRefusal refusal : allRefusals) {
        EXPECT_THAT(catalogued, Contains(std::string(sentenceOf(refusal))));
    }
}

// --- The library's source
// -------------------------------------------------------------------------

/// Files whose texts reach nobody through an exchange.
const std::set<std::string> filesWithoutSentences = {
    "kelto/foundation/ContentTypeTable.hpp",  // lists of file-name extensions
    "kelto/foundation/FatalError.cpp",        // the last words of a process
    "kelto/persistence/BackupArchive.cpp",    // from here on: what only keltoctl says
    "kelto/persistence/DatabaseInspection.cpp",
    "kelto/persistence/LostAndFound.cpp",
    "kelto/persistence/PayloadRepair.cpp",
    "kelto/persistence/RepairPlan.cpp",
    "kelto/persistence/RowInspection.cpp",
    "kelto/persistence/RowRepair.cpp",
    "kelto/persistence/SqliteStatements.cpp",  // SQL in small pieces
    "kelto/persistence/StoreBackup.cpp",
    "kelto/persistence/StoreFinding.cpp",
    "kelto/persistence/StoreInspection.cpp",
    "kelto/persistence/StoreRepair.cpp",
    "kelto/persistence/StoreRestore.cpp",
};

/// Texts that reach no host either.
const std::set<std::string> textsForNobody = {
    "two record keys share a slot",  // the compiler says so
    // Everything is read anew instead:
    "a record has come up between older ones",
    "a record has become another one",
    // Requests are repaired before they are read:
    "these bytes are not UTF-8",
    // No text of an exchange gets there:
    "a text of more than 2 GiB cannot be processed",
    // Only keltoctl rehearses an exchange; a host's process ends:
    "A time of the request lies outside of what can be stored; an exchange with it ends the host’s "
    "process.",
};

TEST(ErrorSentences, OfTheSourceAreAllInTheCatalogue) {
    const std::vector<std::string> catalogued = cataloguedSentences();
    const std::vector<SourceText> source = sentencesInSource();
    EXPECT_GT(source.size(), 60) << "the source is not found";
    for (const SourceText& each : source) {
        if (filesWithoutSentences.contains(each.file)) continue;
        if (textsForNobody.contains(each.text)) continue;
        const bool isCatalogued =
            std::any_of(catalogued.begin(), catalogued.end(), [&](const std::string& sentence) {
                return sentence.find(each.text) != sentence.npos;
            });
        EXPECT_TRUE(isCatalogued) << each.file << " says: " << each.text;
    }
}

}  // namespace
}  // namespace kelto
