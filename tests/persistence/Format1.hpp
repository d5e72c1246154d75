#pragma once

#include <string_view>

namespace kelto::format1 {

// A store of format 1, as the library of that time wrote it. Never to be changed: such stores are
// on people's disks.

constexpr std::string_view tables = R"sql(
CREATE TABLE "Payload" ("id" INTEGER PRIMARY KEY, "digest" BLOB NOT NULL UNIQUE CHECK
    (length("digest") = 32), "size" INTEGER NOT NULL, "bytes" BLOB) STRICT;
CREATE TABLE "Project" ("id" INTEGER PRIMARY KEY AUTOINCREMENT, "uuid" BLOB NOT NULL CHECK
    (length("uuid") = 16), "name" TEXT NOT NULL, "sortOrder" INTEGER NOT NULL,
    "linkedFolderOwner" TEXT NOT NULL, "createdAt" REAL NOT NULL, "parent" INTEGER
    REFERENCES "Project"("id") DEFERRABLE INITIALLY DEFERRED) STRICT;
CREATE INDEX "Project_parent" ON "Project"("parent") WHERE "parent" IS NOT NULL;
CREATE TABLE "Tag" ("id" INTEGER PRIMARY KEY AUTOINCREMENT, "uuid" BLOB NOT NULL CHECK
    (length("uuid") = 16), "name" TEXT NOT NULL, "createdAt" REAL NOT NULL) STRICT;
CREATE TABLE "Thing" ("id" INTEGER PRIMARY KEY AUTOINCREMENT, "uuid" BLOB NOT NULL CHECK
    (length("uuid") = 16), "kindRaw" TEXT NOT NULL, "title" TEXT NOT NULL, "subtitle" TEXT
    NOT NULL, "content" TEXT NOT NULL, "note" TEXT NOT NULL, "urlString" TEXT NOT NULL,
    "fileName" TEXT NOT NULL, "typeIdentifier" TEXT NOT NULL, "fileSize" INTEGER NOT NULL,
    "data" BLOB REFERENCES "Payload"("digest") DEFERRABLE INITIALLY DEFERRED,
    "thumbnailData" BLOB REFERENCES "Payload"("digest") DEFERRABLE INITIALLY DEFERRED,
    "iconData" BLOB REFERENCES "Payload"("digest") DEFERRABLE INITIALLY DEFERRED,
    "aspectRatio" REAL NOT NULL, "isStarred" INTEGER NOT NULL CHECK ("isStarred" IN (0, 1)),
    "trashedAt" REAL, "createdAt" REAL NOT NULL, "updatedAt" REAL NOT NULL, "metadataJSON"
    TEXT NOT NULL, "project" INTEGER REFERENCES "Project"("id") DEFERRABLE INITIALLY
    DEFERRED) STRICT;
CREATE INDEX "Thing_data" ON "Thing"("data") WHERE "data" IS NOT NULL;
CREATE INDEX "Thing_thumbnailData" ON "Thing"("thumbnailData") WHERE "thumbnailData" IS NOT NULL;
CREATE INDEX "Thing_iconData" ON "Thing"("iconData") WHERE "iconData" IS NOT NULL;
CREATE INDEX "Thing_project" ON "Thing"("project") WHERE "project" IS NOT NULL;
CREATE TABLE "Thing_tags" ("object" INTEGER NOT NULL REFERENCES "Thing"("id") DEFERRABLE
    INITIALLY DEFERRED, "place" INTEGER NOT NULL, "other" INTEGER NOT NULL REFERENCES
    "Tag"("id") DEFERRABLE INITIALLY DEFERRED, PRIMARY KEY ("object", "place")) STRICT,
    WITHOUT ROWID;
CREATE INDEX "Thing_tags_other" ON "Thing_tags"("other");
PRAGMA application_id = 1265398895;
PRAGMA user_version = 1;
PRAGMA journal_mode = WAL;
)sql";

/// A payload, two projects, three tags, and three things of which two have tags.
constexpr std::string_view library = R"sql(
INSERT INTO "Payload" VALUES (1,
    x'a27fa2bacd5796b82680016a6b8865a616a9e4f6b6a198d3776ddc07536e3158', 6, CAST('a plan' AS BLOB));
INSERT INTO "Project" VALUES (1, zeroblob(16), 'top', 0, '', 1.5, NULL);
INSERT INTO "Project" VALUES (2, zeroblob(16), 'below', 1, '', 1.5, 1);
INSERT INTO "Tag" VALUES (1, zeroblob(16), 'first', 1.5);
INSERT INTO "Tag" VALUES (2, zeroblob(16), 'second', 1.5);
INSERT INTO "Tag" VALUES (12, zeroblob(16), 'twelfth', 1.5);
INSERT INTO "Thing" VALUES (1, zeroblob(16), 'document', 'Plan', '', '', '', '', 'plan.txt',
    'public.plain-text', 6, x'a27fa2bacd5796b82680016a6b8865a616a9e4f6b6a198d3776ddc07536e3158',
    NULL, NULL, 1.0, 0, NULL, 1.5, 2.5, '', 2);
INSERT INTO "Thing" VALUES (2, zeroblob(16), 'note', 'without tags', '', '', '', '', '', '', 0,
    NULL, NULL, NULL, 1.0, 1, 3.5, 1.5, 2.5, '', NULL);
INSERT INTO "Thing" VALUES (5, zeroblob(16), 'note', 'with one tag', '', '', '', '', '', '', 0,
    NULL, NULL, NULL, 1.0, 0, NULL, 1.5, 2.5, '', NULL);
INSERT INTO "Thing_tags" VALUES (1, 0, 12), (1, 1, 1), (1, 2, 2), (5, 0, 2);
)sql";

}  // namespace kelto::format1
