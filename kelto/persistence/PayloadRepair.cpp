#include "kelto/persistence/PayloadRepair.hpp"

#include <algorithm>
#include <span>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/StoreInspection.hpp"

namespace kelto {

namespace {

using sql::quoted;

Bytes digestBytes(const Digest& digest) {
    return std::as_bytes(std::span(digest.bytes));
}

}  // namespace

PayloadRepair::PayloadRepair(const Schema& schema,
                             FileSystem& files,
                             SqliteDatabase& database,
                             std::string externalFolder,
                             LostAndFound& lostAndFound,
                             RowRepair& rows)
    : schema_(schema),
      files_(files),
      database_(database),
      externalFolder_(std::move(externalFolder)),
      lostAndFound_(lostAndFound),
      rows_(rows) {}

bool PayloadRepair::mendReference(const StoreFinding& finding) {
    for (const Digest& digest : targetOf(finding)) {
        if (database_.integer("SELECT count(*) FROM \"Payload\" WHERE \"digest\" = x'" +
                              digest.hex() + "'") != 0) {
            return false;  // an earlier step has brought it back
        }
        if (bringBack(digest)) return true;
    }
    return rows_.clear(finding);
}

std::vector<Digest> PayloadRepair::targetOf(const StoreFinding& finding) {
    SqliteStatement select(database_,
                           "SELECT " + quoted(finding.column) + " FROM " + quoted(finding.entity) +
                               " WHERE \"id\" = ? AND length(" + quoted(finding.column) + ") = 32");
    select.integer(0, finding.row);
    if (!select.step()) return {};
    Digest digest;
    const Bytes bytes = select.blob(0);
    std::transform(bytes.begin(), bytes.end(), digest.bytes.begin(), [](std::byte byte) {
        return std::to_integer<std::uint8_t>(byte);
    });
    return {digest};
}

bool PayloadRepair::mendPayload(const StoreFinding& finding) {
    const Digest& digest = *finding.digest;
    SqliteStatement select(database_,
                           R"(SELECT "size", "bytes" FROM "Payload" WHERE "digest" = ?)");
    select.blob(0, digestBytes(digest));
    if (!select.step()) return false;
    const StoredFile file{digest, static_cast<std::uint64_t>(select.integer(0))};
    const bool isInFile = select.isNull(1);
    const std::string bytes(textOf(select.blob(1)));
    select.reset();
    const std::string path = joinedPath(externalFolder_, digest.hex());
    if (isInFile) {
        if (stateOfPayloadFile(files_, path, file, {}) == PayloadFileState::sound) return false;
        if (files_.status(path)) kept_.push_back(lostAndFound_.move(path));
        if (bringBack(digest)) return true;
    } else {
        if (bytes.size() == file.size && sha256(bytes) == digest) return false;
        kept_.push_back(lostAndFound_.write(digest.hex() + " damaged", bytesOf(bytes)));
    }
    detach(digest);
    return true;
}

/// Puts a file of exactly these bytes, wherever one is left, into its place again, and makes sure
/// that a row names it.
bool PayloadRepair::bringBack(const Digest& digest) {
    const std::string place = joinedPath(externalFolder_, digest.hex());
    for (const std::string& path : {place, joinedPath(lostAndFound_.folder(), digest.hex())}) {
        const auto status = files_.status(path);
        if (!status) continue;
        const StoredFile file{digest, status->size};
        if (stateOfPayloadFile(files_, path, file, {}) != PayloadFileState::sound) continue;
        if (path != place) {
            files_.createFolders(externalFolder_);
            files_.rename(path, place);
            files_.syncFolder(externalFolder_);
        }
        SqliteStatement insert(
            database_,
            R"(INSERT INTO "Payload" ("digest", "size") VALUES (?1, ?2) )"
            R"(ON CONFLICT ("digest") DO UPDATE SET "size" = ?2, "bytes" = NULL)");
        insert.blob(0, digestBytes(digest));
        insert.integer(1, static_cast<std::int64_t>(status->size));
        insert.run();
        return true;
    }
    return false;
}

/// Lets every item that names the payload go without it.
void PayloadRepair::detach(const Digest& digest) {
    for (const EntityDescription* entity : schema_.entities) {
        for (const AttributeDescription& attribute : entity->attributes) {
            if (attribute.type != AttributeType::payload) continue;
            const std::string column = quoted(attribute.name);
            SqliteStatement owners(
                database_,
                "SELECT \"id\" FROM " + quoted(entity->name) + " WHERE " + column + " = ?");
            owners.blob(0, digestBytes(digest));
            while (owners.step()) {
                rows_.writeDown(
                    std::string(entity->name), owners.integer(0), std::string(attribute.name));
            }
            SqliteStatement update(database_,
                                   std::string("UPDATE ")
                                       .append(quoted(entity->name))
                                       .append(" SET ")
                                       .append(column)
                                       .append(" = NULL WHERE ")
                                       .append(column)
                                       .append(" = ?"));
            update.blob(0, digestBytes(digest));
            update.run();
        }
    }
    SqliteStatement remove(database_, R"(DELETE FROM "Payload" WHERE "digest" = ?)");
    remove.blob(0, digestBytes(digest));
    remove.run();
}

bool PayloadRepair::removeUnused(const StoreFinding& finding) {
    SqliteStatement select(database_, R"(SELECT "bytes" FROM "Payload" WHERE "digest" = ?)");
    select.blob(0, digestBytes(*finding.digest));
    if (!select.step()) return false;
    const bool isInFile = select.isNull(0);
    const std::string bytes(textOf(select.blob(0)));
    select.reset();
    SqliteStatement remove(database_, sql::deleteUnusedPayload(schema_));
    remove.blob(0, digestBytes(*finding.digest));
    if (!remove.step()) return false;  // an item has it again
    remove.reset();
    if (isInFile) {
        withoutRow_.push_back(*finding.digest);
    } else {
        kept_.push_back(lostAndFound_.write(finding.digest->hex(), bytesOf(bytes)));
    }
    return true;
}

bool PayloadRepair::moveStray(const StoreFinding& finding) {
    if (!files_.status(finding.path)) return false;
    if (finding.digest) {
        SqliteStatement named(database_,
                              R"(SELECT 1 FROM "Payload" WHERE "digest" = ? AND "bytes" IS NULL)");
        named.blob(0, digestBytes(*finding.digest));
        if (named.step()) return false;
    }
    kept_.push_back(lostAndFound_.move(finding.path));
    return true;
}

void PayloadRepair::moveFilesWithoutRow() {
    if (withoutRow_.empty()) return;
    // The row has gone for good only now; and another program may have stored the bytes since.
    database_.run("BEGIN IMMEDIATE");
    for (const Digest& digest : withoutRow_) {
        SqliteStatement named(database_, R"(SELECT 1 FROM "Payload" WHERE "digest" = ?)");
        named.blob(0, digestBytes(digest));
        const std::string path = joinedPath(externalFolder_, digest.hex());
        if (!named.step() && files_.status(path)) kept_.push_back(lostAndFound_.move(path));
    }
    database_.run("ROLLBACK");
}

}  // namespace kelto
