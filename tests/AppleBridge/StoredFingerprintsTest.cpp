// What rows say of fingerprints saves the first exchange of a process from working them out. It is
// believed only where it fits the thing.

#include <string>

#include <gtest/gtest.h>

#include "kelto/AppleBridge/StoredFingerprints.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/support/CaseName.hpp"
#include "tests/support/TestLibrary.hpp"

namespace kelto {
namespace {

const std::string firstThing = identifier(1);
const std::string otherThing = identifier(2);

/// A library of two things in a project, with tags.
class StoredFingerprints : public testing::Test {
protected:
    StoredFingerprints() {
        const std::string project = identifier(0xA0);
        const std::string tag = identifier(0xB0);
        RequestBuilder request;
        request.record(RecordBuilder::project(project).with("name", "project"));
        request.record(RecordBuilder::tag(tag).with("name", "tag"));
        for (const std::string& each : {firstThing, otherThing}) {
            request.record(RecordBuilder::thing(each)
                               .with("title", "title")
                               .with("updatedAt", 1000)
                               .with("project", project)
                               .withTags({tag}));
        }
        before = library.exchange(request).text();
    }

    /// What a new process answers, and how many digests it takes for that.
    std::string answerAfterRestart() {
        library.restart();
        const WorkCounters start = workSoFar();
        const std::string text = library.exchange().text();
        digests = (workSoFar() - start)[Work::digests];
        return text;
    }
    /// What one answers to which rows tell nothing.
    std::string answerFromScratch() {
        library.changeStore("UPDATE Thing SET digests = NULL");
        return answerAfterRestart();
    }

    TestLibrary library;
    std::string before;
    std::uint64_t digests = 0;
};

TEST_F(StoredFingerprints, AreNotWorkedOutAgain) {
    EXPECT_EQ(answerAfterRestart(), before);
    EXPECT_EQ(digests, 0U);
}

TEST_F(StoredFingerprints, AreWorkedOutWhereARowHasNone) {
    EXPECT_EQ(answerFromScratch(), before);
    EXPECT_EQ(digests, 4U);
}

TEST_F(StoredFingerprints, AreThoseOfAnEditThatWasSaved) {
    (void)library.exchange(RequestBuilder().record(
        RecordBuilder::thing(firstThing).with("title", "edited").with("updatedAt", 2000)));
    const std::string edited = answerAfterRestart();
    EXPECT_EQ(digests, 0U);
    EXPECT_NE(edited, before);
    EXPECT_EQ(edited, answerFromScratch());
}

struct ForeignEdit {
    const char* name;
    const char* sql;
};

class StoredFingerprintsAfter : public StoredFingerprints,
                                public testing::WithParamInterface<ForeignEdit> {};

TEST_P(StoredFingerprintsAfter, AnEditOfAnotherProgramAreNotBelieved) {
    library.changeStore(GetParam().sql);
    const std::string answer = answerAfterRestart();
    EXPECT_GT(digests, 0U);
    EXPECT_EQ(answer, answerFromScratch());
}

constexpr ForeignEdit foreignEdits[] = {
    {"Title", "UPDATE Thing SET title = 'Title' WHERE id = 1"},
    {"Date", "UPDATE Thing SET updatedAt = updatedAt + 1 WHERE id = 1"},
    {"NoProject", "UPDATE Thing SET project = NULL WHERE id = 1"},
    {"NoTags", "UPDATE Thing SET tags = '[]' WHERE id = 1"},
    {"IdentifierOfATag", "UPDATE Tag SET uuid = randomblob(16)"},
    {"IdentifierOfAProject", "UPDATE Project SET uuid = randomblob(16)"},
    {"FingerprintsOfAnother",
     "UPDATE Thing SET digests = (SELECT digests FROM Thing WHERE id = 2) WHERE id = 1"},
    {"NoFingerprints", "UPDATE Thing SET digests = x'' WHERE id = 1"},
    {"ShortFingerprints", "UPDATE Thing SET digests = substr(digests, 1, 40) WHERE id = 1"},
    {"LongFingerprints", "UPDATE Thing SET digests = CAST(digests || x'00' AS BLOB) WHERE id = 1"},
    {"OtherFingerprints",
     "UPDATE Thing SET digests = CAST(substr(digests, 1, 39) || x'5A5A' || substr(digests, 42) "
     "AS BLOB) WHERE id = 1"},
};
INSTANTIATE_TEST_SUITE_P(ForeignEdits,
                         StoredFingerprintsAfter,
                         testing::ValuesIn(foreignEdits),
                         caseName<ForeignEdit>);

/// A thing whose row gives its record that length, with a basis that fits.
class StoredLength : public testing::Test {
protected:
    [[nodiscard]] bool isSound(std::uint64_t recordBytes) {
        {
            ModelContext context(library.container());
            Thing& made = context.insert<Thing>(ThingKind::note, std::string(500, 't'));
            DerivedDigests digests = computedFingerprints(made);
            digests.recordBytes = recordBytes;
            digests.basis = fingerprintBasis(made, digests);
            made.remember(digests);
            context.save();
        }
        library.reopen();
        ModelContext context(library.container());
        return hasSoundStoredFingerprints(*context.fetch<Thing>().front());
    }

    LibraryStore library;
};

TEST_F(StoredLength, OfARecordMayBeWrongByALittle) {
    EXPECT_TRUE(isSound(1000));
}

TEST_F(StoredLength, OfARecordIsNoReasonToTakeAllMemory) {
    EXPECT_FALSE(isSound(std::uint64_t{1} << 60U));
}

TEST_F(StoredLength, OfARecordIsNotShorterThanItsTexts) {
    EXPECT_FALSE(isSound(499));
}

}  // namespace
}  // namespace kelto
