#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "tests/persistence/Format1.hpp"
#include "tests/persistence/LibraryStore.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SqliteMigrationTest : public testing::Test {
protected:
    /// Puts a store of format 1 in the place of the library's.
    void makeFormat1() {
        library.close();
        for (const char* suffix : {"", "-wal", "-shm"}) {
            library.files().remove(library.storePath() + suffix);
        }
        (void)library.files().create(library.storePath());
        execute(std::string(format1::tables));
        execute(std::string(format1::library));
    }

    void execute(const std::string& sql) {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
    }

    LibraryStore library;
};

TEST_F(SqliteMigrationTest, BringsTheWholeLibraryOver) {
    makeFormat1();
    library.reopen();
    EXPECT_EQ(library.number("PRAGMA user_version"), SqliteStore::formatVersion);

    ModelContext context(library.container());
    const auto projects = context.fetch<Project>();
    const auto tags = context.fetch<Tag>();
    const auto things = context.fetch<Thing>();
    ASSERT_EQ(projects.size(), 2U);
    ASSERT_EQ(tags.size(), 3U);
    ASSERT_EQ(things.size(), 3U);
    EXPECT_EQ(projects[1]->parent(), projects[0]);
    EXPECT_EQ(things[0]->title(), "Plan");
    EXPECT_EQ(things[0]->project(), projects[1]);
    EXPECT_EQ(library.bytes(things[0]->data().value()), "a plan");
    EXPECT_THAT(things[0]->tags(), ElementsAre(tags[2], tags[0], tags[1]));
    EXPECT_THAT(things[1]->tags(), IsEmpty());
    EXPECT_THAT(things[2]->tags(), ElementsAre(tags[1]));
    EXPECT_THAT(tags[1]->things().list(), ElementsAre(things[0], things[2]));
}

TEST_F(SqliteMigrationTest, NeverGivesTheNumberOfAnEarlierRowAgain) {
    makeFormat1();
    execute("UPDATE sqlite_sequence SET seq = 40");
    library.reopen();
    ModelContext context(library.container());
    EXPECT_EQ(context.insert<Thing>(ThingKind::note, "new").row(), 41);
    EXPECT_EQ(context.insert<Tag>("new").row(), 41);
}

TEST_F(SqliteMigrationTest, LeavesASoundDatabase) {
    makeFormat1();
    library.reopen();
    EXPECT_EQ(library.number("SELECT count(*) FROM pragma_integrity_check WHERE "
                             "integrity_check <> 'ok'"),
              0);
    EXPECT_EQ(library.number("SELECT count(*) FROM pragma_foreign_key_check"), 0);
}

/// Everything about the tables that statements depend on, so that it can be compared.
std::string tablesOf(SqliteDatabase& database) {
    SqliteStatement select(
        database,
        "SELECT group_concat(line, char(10)) FROM (SELECT m.type || ' ' || m.name || ' ' || "
        "coalesce(c.name || ' ' || c.type || ' ' || c.\"notnull\" || ' ' || "
        "coalesce(c.dflt_value, '-'), m.sql, '') AS line FROM sqlite_schema AS m LEFT JOIN "
        "pragma_table_info(m.name) AS c ON m.type = 'table' ORDER BY m.type, m.name, c.cid)");
    return select.step() ? std::string(static_cast<RowReader&>(select).text(0)) : "";
}

TEST_F(SqliteMigrationTest, MakesTheSameTablesAsANewStoreHas) {
    SqliteDatabase fresh(library.storePath(), std::chrono::milliseconds(1000));
    const std::string wanted = tablesOf(fresh);
    makeFormat1();
    library.reopen();
    SqliteDatabase migrated(library.storePath(), std::chrono::milliseconds(1000));
    EXPECT_EQ(tablesOf(migrated), wanted);
}

TEST_F(SqliteMigrationTest, BringsAStoreOfFormat2Over) {
    {
        ModelContext context(library.container());
        context.insert<Thing>(ThingKind::note, "kept");
        context.save();
    }
    SqliteDatabase fresh(library.storePath(), std::chrono::milliseconds(1000));
    const std::string wanted = tablesOf(fresh);
    library.close();
    execute("ALTER TABLE Thing DROP COLUMN digests");
    execute("PRAGMA user_version = 2");
    library.reopen();
    EXPECT_EQ(library.number("PRAGMA user_version"), SqliteStore::formatVersion);
    EXPECT_EQ(tablesOf(fresh), wanted);
    ModelContext context(library.container());
    EXPECT_EQ(context.fetch<Thing>().front()->title(), "kept");
    EXPECT_EQ(context.fetch<Thing>().front()->storedDigests(), nullptr);
}

TEST_F(SqliteMigrationTest, LeavesTheEarlierFormatWholeWhenItFails) {
    makeFormat1();
    execute(
        "CREATE TRIGGER stop BEFORE UPDATE ON Thing WHEN OLD.id = 5 "
        "BEGIN SELECT RAISE(ABORT, 'stopped'); END");
    EXPECT_THAT([&] { (void)library.anotherContainer(); },
                testing::ThrowsMessage<PlatformError>(testing::HasSubstr("stopped")));
    EXPECT_EQ(library.number("PRAGMA user_version"), 1);
    EXPECT_EQ(library.number("SELECT count(*) FROM Thing_tags"), 4);
    EXPECT_EQ(library.number("SELECT count(*) FROM pragma_table_info('Thing') WHERE name = 'tags'"),
              0);
    execute("DROP TRIGGER stop");
    library.reopen();
    ModelContext context(library.container());
    EXPECT_EQ(context.fetch<Thing>().front()->tags().size(), 3U);
}

}  // namespace
}  // namespace kelto
