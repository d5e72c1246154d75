#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

using namespace std::string_literals;

class SqliteStoreTest : public testing::Test {
protected:
    /// Stores a thing that `change` has worked on, and reads it in a new process's place.
    template <typename Change>
    Thing& storedAndRead(Change change) {
        {
            ModelContext writing(library.container());
            change(writing.insert<Thing>(ThingKind::note, ""));
            writing.save();
        }
        library.reopen();
        context.emplace(library.container());
        return *context->fetch<Thing>().front();
    }

    void execute(const std::string& sql) {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
    }

    LibraryStore library;
    std::optional<ModelContext> context;
};

TEST_F(SqliteStoreTest, KeepsTextsWithNulAndEmptyTexts) {
    const Thing& thing = storedAndRead([](Thing& made) {
        made.setTitle("a\0b"s);
        made.setContent("\0"s);
        made.setNote("");
        made.setSubtitle("é 日本 😀");
    });
    EXPECT_EQ(thing.title(), "a\0b"s);
    EXPECT_EQ(thing.content(), "\0"s);
    EXPECT_EQ(thing.note(), "");
    EXPECT_EQ(thing.subtitle(), "é 日本 😀");
}

TEST_F(SqliteStoreTest, KeepsTextsOfMegabytes) {
    const std::string text(5'000'000, 'x');
    EXPECT_EQ(storedAndRead([&](Thing& made) { made.setContent(text); }).content(), text);
}

TEST_F(SqliteStoreTest, KeepsDatesExactly) {
    const double odd = std::nextafter(1700000000.1234567, 2e9);
    const Thing& thing = storedAndRead([&](Thing& made) {
        made.setCreatedAt({odd});
        made.setUpdatedAt({-0.0625});
        made.setTrashedAt(Date{0});
    });
    EXPECT_EQ(thing.createdAt().secondsSince1970, odd);
    EXPECT_EQ(thing.updatedAt().secondsSince1970, -0.0625);
    EXPECT_EQ(thing.trashedAt(), Date{0});
}

TEST_F(SqliteStoreTest, KeepsTheWholeRangeOfIntegersAndDoubles) {
    const Thing& thing = storedAndRead([](Thing& made) {
        made.setFileSize(std::numeric_limits<std::int64_t>::min());
        made.setAspectRatio(std::numeric_limits<double>::denorm_min());
    });
    EXPECT_EQ(thing.fileSize(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(thing.aspectRatio(), std::numeric_limits<double>::denorm_min());
}

TEST_F(SqliteStoreTest, RepairsATextThatAnotherProgramStoredIllFormed) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("UPDATE Thing SET title = CAST(x'41FF42' AS TEXT)");
    ModelContext next(library.container());
    EXPECT_EQ(next.fetch<Thing>().front()->title(), "A\uFFFDB");
}

TEST_F(SqliteStoreTest, RefusesAStoreWhoseLinksLeadNowhere) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("PRAGMA foreign_keys = OFF; UPDATE Thing SET project = 77");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("damaged")));
}

TEST_F(SqliteStoreTest, KeepsTheTagsOfAThingAsAListOfRowNumbers) {
    {
        ModelContext writing(library.container());
        Tag& first = writing.insert<Tag>("first");
        Tag& second = writing.insert<Tag>("second");
        writing.insert<Thing>(ThingKind::note, "two").setTags({&second, &first});
        writing.insert<Thing>(ThingKind::note, "none");
        writing.save();
    }
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing WHERE id = 1 AND tags = '[2,1]'"), 1);
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing WHERE id = 2 AND tags = '[]'"), 1);
    EXPECT_EQ(
        library.number("SELECT count(*) FROM Thing, json_each(Thing.tags) AS each JOIN Tag ON "
                       "Tag.id = each.value WHERE Tag.name = 'second' AND each.key = 0"),
        1);
}

TEST_F(SqliteStoreTest, ReadsATagThatIsNamedTwiceOnce) {
    {
        ModelContext writing(library.container());
        writing.insert<Thing>(ThingKind::note, "").setTags({&writing.insert<Tag>("tag")});
        writing.save();
    }
    execute("UPDATE Thing SET tags = '[1, 1]'");
    ModelContext next(library.container());
    EXPECT_EQ(next.fetch<Thing>().front()->tags().size(), 1U);
}

TEST_F(SqliteStoreTest, RefusesAListThatNamesATagThatIsNotThere) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("UPDATE Thing SET tags = '[77]'");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(
                    testing::HasSubstr("a record refers to one that is not there")));
}

TEST_F(SqliteStoreTest, RefusesAListOfTagsThatIsNone) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("UPDATE Thing SET tags = '{}'");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(
                    testing::HasSubstr("a stored list of records is ill-formed")));
}

TEST_F(SqliteStoreTest, RefusesIdentifiersOfTheWrongLength) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("PRAGMA ignore_check_constraints = ON; UPDATE Thing SET uuid = x'0102'");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("damaged")));
}

TEST_F(SqliteStoreTest, RefusesAStoredDateThatNoResponseCouldName) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("UPDATE Thing SET trashedAt = 9e999");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("date is out of range")));
}

TEST_F(SqliteStoreTest, RefusesANumberThatNoResponseCouldHold) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("UPDATE Thing SET aspectRatio = -9e999");
    ModelContext next(library.container());
    EXPECT_THAT(
        [&] { (void)next.fetch<Thing>(); },
        testing::ThrowsMessage<PlatformError>(testing::HasSubstr("number is out of range")));
}

TEST_F(SqliteStoreTest, RefusesToWriteIntoAFileThatWasMovedAway) {
    storedAndRead([](Thing&) {});
    context.reset();
    library.files().rename(library.storePath(), library.storePath() + " backup");
    ModelContext next(library.container());
    EXPECT_THAT([&] { next.insert<Thing>(ThingKind::note, "lost"); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("moved or replaced")));
}

TEST_F(SqliteStoreTest, WaitsForAnotherProgramThatIsSaving) {
    SqliteDatabase other(library.storePath(), std::chrono::milliseconds(0));
    other.run("BEGIN IMMEDIATE");
    std::thread saving([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        other.run("COMMIT");
    });
    ModelContext mine(library.container());
    EXPECT_NO_THROW(mine.insert<Thing>(ThingKind::note, "mine"));
    saving.join();
}

TEST_F(SqliteStoreTest, RefusesAStoreThatANewerVersionHasTakenOver) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("PRAGMA user_version = 1000");
    ModelContext next(library.container());
    EXPECT_THAT([&] { (void)next.fetch<Thing>(); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("newer version")));
}

TEST_F(SqliteStoreTest, IsFreeForOthersAfterAUnitOfWorkThatCouldNotBegin) {
    storedAndRead([](Thing&) {});
    context.reset();
    execute("PRAGMA user_version = 1000");
    ModelContext next(library.container());
    EXPECT_THROW((void)next.fetch<Thing>(), PlatformError);
    execute("PRAGMA user_version = " + std::to_string(SqliteStore::formatVersion));
    EXPECT_EQ(next.fetch<Thing>().size(), 1U);
}

TEST_F(SqliteStoreTest, WritesOnlyRowsThatHaveChanged) {
    storedAndRead([](Thing&) {});
    context->insert<Thing>(ThingKind::note, "second");
    context->save();
    execute(
        "CREATE TABLE written (id); CREATE TRIGGER t AFTER UPDATE ON Thing BEGIN "
        "INSERT INTO written VALUES (new.id); END");
    ModelContext next(library.container());
    next.fetch<Thing>()[1]->setNote("changed");
    next.save();
    EXPECT_EQ(library.number("SELECT count(*) FROM written"), 1);
    EXPECT_EQ(library.number("SELECT id FROM written"), 2);
}

TEST_F(SqliteStoreTest, PassesTheDatabasesOwnIntegrityCheck) {
    storedAndRead([](Thing& made) { made.setTitle("x"); });
    EXPECT_EQ(library.number("SELECT count(*) FROM pragma_integrity_check WHERE "
                             "integrity_check <> 'ok'"),
              0);
    EXPECT_EQ(library.number("SELECT count(*) FROM pragma_foreign_key_check"), 0);
}

}  // namespace
}  // namespace kelto
