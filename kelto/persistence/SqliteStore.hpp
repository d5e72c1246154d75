#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kelto/persistence/PersistentStore.hpp"
#include "kelto/persistence/SqliteChangeLog.hpp"
#include "kelto/persistence/SqliteCheckpoints.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqlitePayloads.hpp"
#include "kelto/platform/Clock.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// The store in one SQLite database (WAL, full durability) and a folder of large payloads beside
/// it. docs/store-format.md describes both.
class SqliteStore final : public PersistentStore {
public:
    /// The store format that this library reads and writes. Stored for ever: only add.
    static constexpr std::int64_t formatVersion = 3;
    /// "Klto", the mark of a library's store in the database header.
    static constexpr std::int64_t applicationId = 0x4B6C746F;
    /// How long another program that is writing is waited for.
    static constexpr std::chrono::milliseconds busyLimit{5000};

    /// Opens the store at `path`, and makes an empty one when there is none. A file that is no
    /// library's store, or one of a newer format, is refused and left untouched.
    SqliteStore(const Schema& schema,
                std::shared_ptr<FileSystem> files,
                std::shared_ptr<Clock> clock,
                std::shared_ptr<Random> random,
                const std::string& path);
    ~SqliteStore() override;

    [[nodiscard]] ForeignChanges begin() override;
    [[nodiscard]] ForeignChanges beginReading() override;
    void load(const EntityDescription& entity,
              const RowRange& rows,
              const std::function<void(std::int64_t, RowReader&)>& sink) override;
    [[nodiscard]] std::int64_t lastRow(const EntityDescription& entity) override;
    void commit(const ChangeSet& changes) override;
    void rollback() noexcept override;
    [[nodiscard]] PayloadStorage& payloads() override { return *payloads_; }

private:
    /// The prepared statements of one entity.
    struct EntityStatements {
        EntityStatements(SqliteDatabase& database, const EntityDescription& entity);
        SqliteStatement select;
        SqliteStatement insert;
        SqliteStatement update;
        SqliteStatement remove;
    };

    void prepare();
    /// What others have committed, asked within the transaction.
    [[nodiscard]] ForeignChanges news();
    /// Whether any record was ever saved here.
    [[nodiscard]] bool wasEverUsed();
    /// What is written into a file that was moved away or replaced would be lost.
    void requireSameFile();
    /// A number that another one replaces whenever another connection has committed.
    [[nodiscard]] std::int64_t dataVersion();
    void write(const ChangeSet& changes);
    void eraseFailedCommit() noexcept;
    void removeDroppedFiles() noexcept;
    void insertRow(const ModelObject& object);
    void updateRow(const ModelObject& object);
    void deleteRow(const ModelObject& object);
    [[nodiscard]] EntityStatements& statements(const EntityDescription& entity);

    const Schema& schema_;
    std::shared_ptr<FileSystem> files_;
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<Random> random_;
    std::unique_ptr<SqliteDatabase> database_;
    std::optional<FileStatus> opened_;  // the database's file when it was opened
    std::unique_ptr<SqliteCheckpoints> checkpoints_;
    std::unique_ptr<SqlitePayloads> payloads_;
    std::unique_ptr<SqliteChangeLog> changeLog_;
    std::unique_ptr<SqliteStatement> begin_;
    std::unique_ptr<SqliteStatement> beginReading_;
    std::unique_ptr<SqliteStatement> commit_;
    std::unique_ptr<SqliteStatement> rollback_;
    std::unique_ptr<SqliteStatement> dataVersion_;
    std::map<const EntityDescription*, std::unique_ptr<EntityStatements>> statements_;
    std::optional<std::int64_t> seenVersion_;
    bool isReading_ = false;  // the unit of work only reads
};

}  // namespace kelto
