#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "kelto/persistence/Schema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreFinding.hpp"
#include "kelto/platform/FileSystem.hpp"

namespace kelto {

/// Looks a store over, from its database to the last payload file, and changes nothing. It works
/// beside programs that use the store, and on stores that no program opens.
///
/// The database is read in one transaction. The payload files are hashed after it, without any
/// lock, so that nobody has to wait; what seems wrong is looked at once more under the write lock,
/// because a program may have been in the middle of bringing or removing a file.
class StoreInspection {
public:
    /// How many bytes of payload files have been hashed, and how many there are.
    using Progress = std::function<void(std::uint64_t done, std::uint64_t all)>;

    StoreInspection(const Schema& schema, FileSystem& files, std::string storePath);

    /// A store that is not there at all is healthy, and a note says so. `progress` may be empty.
    /// A failure of this program itself (no memory, no descriptors) is a PlatformError.
    [[nodiscard]] StoreReport run(const Progress& progress);

private:
    /// The names in the folder of payloads; none when there is no such folder.
    [[nodiscard]] std::vector<std::string> namesOfFiles();
    void inspectDatabaseAlone();
    void noteThatItIsEmpty();
    void inspectPayloadFiles(const Progress& progress);
    void findStrays();
    /// Drops those findings about files that were only a moment in another program's work.
    void confirm();
    void judgeAgain();
    void dropWhatHasSettled(SqliteDatabase& database, bool nobodyWrites);
    void inspectPermissions();

    const Schema& schema_;
    FileSystem& files_;
    std::string storePath_;
    std::string externalFolder_;
    bool isReadable_ = false;  // what the database says of payload files is known
    StoreReport report_;
};

/// What a look at a payload's file tells.
enum class PayloadFileState : std::uint8_t { sound, missing, damaged };

/// Reads and hashes the file of a payload. `progress` is told how many bytes were read; it may be
/// empty.
[[nodiscard]] PayloadFileState stateOfPayloadFile(
    FileSystem& files,
    const std::string& path,
    const StoredFile& file,
    const std::function<void(std::uint64_t)>& progress);

}  // namespace kelto
