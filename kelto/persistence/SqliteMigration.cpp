#include "kelto/persistence/SqliteMigration.hpp"

namespace kelto {

namespace {

// The statements of a step never change: they are written out, and not made from the entity
// descriptions, because they speak of the tables as they were then.

/// Format 2 keeps the tags of a thing in a column of its row instead of a table of their own, and
/// knows the host's files again.
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

}  // namespace

void migrateTables(SqliteDatabase& database, std::int64_t fromFormat) {
    if (fromFormat < 2) {
        for (const char* statement : fromFormat1) database.run(statement);
    }
}

}  // namespace kelto
