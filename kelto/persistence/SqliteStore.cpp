#include "kelto/persistence/SqliteStore.hpp"

#include <algorithm>
#include <span>
#include <utility>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/LostAndFound.hpp"
#include "kelto/persistence/RowList.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/persistence/StoreErrors.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

/// A row seen without its first column, the row number.
class RowWithoutNumber final : public RowReader {
public:
    explicit RowWithoutNumber(RowReader& row) : row_(row) {}
    bool isNull(int column) override { return row_.isNull(column + 1); }
    std::int64_t integer(int column) override { return row_.integer(column + 1); }
    double real(int column) override { return row_.real(column + 1); }
    std::string_view text(int column) override { return row_.text(column + 1); }
    Bytes blob(int column) override { return row_.blob(column + 1); }

private:
    RowReader& row_;
};

/// Binds attributes, relationship columns and digests from parameter `at` on; answers the next
/// parameter.
int bindFields(const ModelObject& object, SqliteStatement& statement, int at) {
    for (const AttributeDescription& attribute : object.entity().attributes) {
        attribute.write(object, statement, at++);
    }
    for (const RelationshipDescription& relationship : object.entity().relationships) {
        if (relationship.storage == RelationshipStorage::inverse) continue;
        const auto related = relationship.related(object);
        if (relationship.storage == RelationshipStorage::listColumn) {
            statement.copiedText(at++, rowListOf(related));
        } else if (related.empty()) {
            statement.null(at++);
        } else {
            statement.integer(at++, related.front()->row());
        }
    }
    if (object.entity().keepsDigests) {
        if (const DerivedDigests* digests = object.derivedDigests()) {
            statement.blob(at++, std::as_bytes(std::span(digests, 1)));
        } else {
            statement.null(at++);
        }
    }
    return at;
}

}  // namespace

SqliteStore::EntityStatements::EntityStatements(SqliteDatabase& database,
                                                const EntityDescription& entity)
    : select(database, sql::selectRows(entity)),
      insert(database, sql::insertRow(entity)),
      update(database, sql::updateRow(entity)),
      remove(database, sql::deleteRow(entity)) {}

SqliteStore::SqliteStore(const Schema& schema,
                         std::shared_ptr<FileSystem> files,
                         std::shared_ptr<Clock> clock,
                         std::shared_ptr<Random> random,
                         const std::string& path)
    : schema_(schema),
      files_(std::move(files)),
      clock_(std::move(clock)),
      random_(std::move(random)),
      database_(openStoreDatabase(schema, *files_, path)) {
    opened_ = files_->status(path);
    const std::string externalFolder = externalDataFolder(path);
    createFoldersDurably(*files_, externalFolder);
    payloads_ = std::make_unique<SqlitePayloads>(
        schema, *database_, *files_, *clock_, *random_, externalFolder);
    const auto log = files_->status(path + "-wal");
    checkpoints_ = std::make_unique<SqliteCheckpoints>(*database_, log ? log->size : 0);
    changeLog_ = std::make_unique<SqliteChangeLog>(schema, *database_);
    prepare();
    begin_->run();
    // Payload files beside a database in which nothing was ever saved are what is left of a library
    // that has lost its database, perhaps because somebody moved a damaged one away.
    LostAndFound lostAndFound(*files_, *random_, path);
    payloads_->sweep(wasEverUsed() ? nullptr : &lostAndFound);
    rollback_->run();
}

bool SqliteStore::wasEverUsed() {
    return std::any_of(schema_.entities.begin(),
                       schema_.entities.end(),
                       [this](const auto* entity) { return lastRow(*entity) > 0; });
}

SqliteStore::~SqliteStore() {
    rollback();
}

void SqliteStore::prepare() {
    begin_ = std::make_unique<SqliteStatement>(*database_, "BEGIN IMMEDIATE");
    beginReading_ = std::make_unique<SqliteStatement>(*database_, "BEGIN");
    commit_ = std::make_unique<SqliteStatement>(*database_, "COMMIT");
    rollback_ = std::make_unique<SqliteStatement>(*database_, "ROLLBACK");
    dataVersion_ = std::make_unique<SqliteStatement>(*database_, "PRAGMA data_version");
    for (const EntityDescription* entity : schema_.entities) {
        statements_[entity] = std::make_unique<EntityStatements>(*database_, *entity);
    }
}

ForeignChanges SqliteStore::begin() {
    if (database_->isInTransaction()) fatalError("a unit of work begins inside another");
    begin_->run();
    try {
        requireSameFile();
        payloads_->removeSuspects();
        return news();
    } catch (...) {
        rollback();  // nobody else knows that it has begun, and the write lock would stay
        throw;
    }
}

ForeignChanges SqliteStore::beginReading() {
    if (database_->isInTransaction()) fatalError("a unit of work begins inside another");
    beginReading_->run();
    isReading_ = true;
    try {
        requireSameFile();
        return news();
    } catch (...) {
        rollback();
        throw;
    }
}

ForeignChanges SqliteStore::news() {
    const std::int64_t version = dataVersion();
    if (seenVersion_ == version) return {ForeignChanges::Extent::none, {}};
    requireKnownFormat(*database_);
    payloads_->othersHaveWritten();
    ForeignChanges changes = changeLog_->news();
    seenVersion_ = version;
    return changes;
}

void SqliteStore::requireSameFile() {
    const auto now = files_->status(database_->path());
    const bool isSame =
        now && opened_ && now->device == opened_->device && now->inode == opened_->inode;
    if (isSame) return;
    throw PlatformError::described(
        errorDomain::sqlite,
        1032,  // SQLITE_READONLY_DBMOVED
        storeNamed(database_->path()) +
            "was moved or replaced while it was in use. Start this application again.");
}

std::int64_t SqliteStore::dataVersion() {
    const StatementUse use(*dataVersion_);
    return dataVersion_->step() ? dataVersion_->integer(0) : 0;
}

void SqliteStore::load(const EntityDescription& entity,
                       const RowRange& rows,
                       const std::function<void(std::int64_t, RowReader&)>& sink) {
    SqliteStatement& select = statements(entity).select;
    const StatementUse use(select);
    select.integer(0, rows.first);
    select.integer(1, rows.last);
    RowWithoutNumber values(select);
    while (select.step()) sink(static_cast<RowReader&>(select).integer(0), values);
}

std::int64_t SqliteStore::lastRow(const EntityDescription& entity) {
    SqliteStatement select(*database_, "SELECT \"seq\" FROM sqlite_sequence WHERE \"name\" = ?");
    select.text(0, entity.name);
    return select.step() ? select.integer(0) : 0;
}

void SqliteStore::commit(const ChangeSet& changes) {
    try {
        write(changes);
        changeLog_->prune();
        payloads_->dropUnused(changes.releasedPayloads);
        payloads_->flush();
        commit_->run();
    } catch (...) {
        rollback();
        eraseFailedCommit();
        throw;
    }
    checkpoints_->committed();
    changeLog_->committed();
    payloads_->committed();
    removeDroppedFiles();
}

void SqliteStore::eraseFailedCommit() noexcept {
    // A commit that fails when its log is flushed stands in the log as a whole: not in force for
    // this process, but in force again for the next one, which reads the log. Another commit takes
    // its place, one that changes nothing.
    const std::string same = "PRAGMA user_version = " + std::to_string(SqliteStore::formatVersion);
    (void)database_->tryToRun(same.c_str(), std::chrono::milliseconds(0));
}

void SqliteStore::removeDroppedFiles() noexcept {
    if (!payloads_->hasSuspects()) return;
    // Whoever holds the lock now does not let us wait: the next unit of work removes them.
    if (!database_->tryToRun("BEGIN IMMEDIATE", std::chrono::milliseconds(0))) return;
    payloads_->removeSuspects();
    rollback();
}

void SqliteStore::rollback() noexcept {
    if (!database_->isInTransaction()) {
        // After some failures, a full disk for one, the database has rolled back by itself.
        payloads_->suspectArrived();
        return;
    }
    payloads_->discardArrived();
    try {
        rollback_->run();
    } catch (const PlatformError&) {
        // The database rolls back by itself when it cannot do so now; the first error counts.
    }
    // It may have been another program that was in the way when they were dropped.
    if (std::exchange(isReading_, false)) {
        removeDroppedFiles();
        checkpoints_->rested();
    }
}

void SqliteStore::write(const ChangeSet& changes) {
    for (const ModelObject* object : changes.inserted) insertRow(*object);
    for (const ModelObject* object : changes.changed) updateRow(*object);
    for (const ModelObject* object : changes.deleted) deleteRow(*object);
}

void SqliteStore::insertRow(const ModelObject& object) {
    SqliteStatement& insert = statements(object.entity()).insert;
    insert.integer(0, object.row());
    bindFields(object, insert, 1);
    insert.run();
    countWork(Work::rowsWritten);
}

void SqliteStore::updateRow(const ModelObject& object) {
    SqliteStatement& update = statements(object.entity()).update;
    const int next = bindFields(object, update, 0);
    update.integer(next, object.row());
    update.run();
    countWork(Work::rowsWritten);
}

void SqliteStore::deleteRow(const ModelObject& object) {
    SqliteStatement& remove = statements(object.entity()).remove;
    remove.integer(0, object.row());
    remove.run();
    countWork(Work::rowsWritten);
}

SqliteStore::EntityStatements& SqliteStore::statements(const EntityDescription& entity) {
    return *statements_.at(&entity);
}

}  // namespace kelto
