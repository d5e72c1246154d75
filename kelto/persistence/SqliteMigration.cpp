#include "kelto/persistence/SqliteMigration.hpp"

#include "kelto/persistence/SqliteStatements.hpp"

namespace kelto {

namespace {

// The statements of a step never change: they are written out, and not made from the entity
// descriptions, because they speak of the tables as they were then.

/// Format 2 keeps the tags of a thing in a column of its row instead of a table of their own, and
/// knows the host's files again, and notes changes.
constexpr const char* fromFormat1[] = {
    R"(ALTER TABLE "Thing" ADD COLUMN "tags" TEXT NOT NULL DEFAULT '[]')",
    R"(UPDATE "Thing" SET "tags" = (
           SELECT '[' || group_concat("other", ',') || ']'
           FROM (SELECT "other" FROM "Thing_tags" WHERE "object" = "Thing"."id" ORDER BY "place"))
       WHERE "id" IN (SELECT "object" FROM "Thing_tags"))",
    R"(DROP TABLE "Thing_tags")",
    R"(CREATE TABLE "FileIdentity" ("device" INTEGER NOT NULL, "inode" INTEGER NOT NULL,
           "size" INTEGER NOT NULL, "modified" INTEGER NOT NULL, "changed" INTEGER NOT NULL,
           "digest" BLOB NOT NULL CHECK (length("digest") = 32),
           PRIMARY KEY ("device", "inode")) STRICT, WITHOUT ROWID)",
};

/// Format 3 keeps what was derived from a thing beside it. Nothing yet for the rows that are there:
/// it is worked out when it is asked for.
constexpr const char* fromFormat2 = R"(ALTER TABLE "Thing" ADD COLUMN "digests" BLOB)";

}  // namespace

void migrateTables(SqliteDatabase& database, std::int64_t fromFormat) {
    if (fromFormat < 2) {
        for (const char* statement : fromFormat1) database.run(statement);
        database.run(sql::createChangeLog());
        for (const char* table : {"Project", "Tag", "Thing"}) {
            for (const std::string& trigger : sql::createChangeTriggers(table)) {
                database.run(trigger);
            }
        }
    }
    if (fromFormat < 3) database.run(fromFormat2);
}

}  // namespace kelto
