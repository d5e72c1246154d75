#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>

#include "kelto/AppleBridge/Record.hpp"
#include "kelto/foundation/LargeVector.hpp"
#include "kelto/persistence/PayloadStorage.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/SharedWork.hpp"

namespace kelto {

/// The files that records name, looked at, and if they are new and not too long also read and
/// hashed, by a second thread, before their records have their turn. That thread asks the file
/// system and computes; what is known of files and payloads is only touched by the one that calls.
/// What fails is left to whoever wants the file: it may not be wanted at all.
class FilesAhead {
public:
    /// Longer files are left to whoever wants them, and to a thread for each.
    static constexpr std::uint64_t longestReading = std::uint64_t{8} * 1024 * 1024;

    /// Files that a thread looks at before it asks whether there are more.
    static constexpr std::size_t lookingStride = 64;

    /// What the file system says of a plain file; none for whatever else stands there, and for what
    /// cannot be looked at. Any thread.
    [[nodiscard]] static std::optional<FileStatus> look(Folder* folder,
                                                        std::string_view name) noexcept;

    explicit FilesAhead(PayloadStorage& payloads) : payloads_(payloads) {}

    /// In the order of the records, which outlive the object.
    void add(const Record& record,
             RecordKey key,
             std::shared_ptr<Folder> folder,
             std::string_view name);
    /// After the last of them: begins to look at them.
    void begin();

    /// What is known of a file that was added. Files are asked for in the order in which they were
    /// added; not all need be.
    struct Found {
        std::optional<FileStatus> status;
        std::optional<HashedBytes> bytes;  ///< Handed over: the caller's from now on.
    };
    [[nodiscard]] Found take(const Record& record, RecordKey key);

private:
    static constexpr std::uint32_t notRead = std::numeric_limits<std::uint32_t>::max();

    struct Entry {
        const Record* record;
        RecordKey key;
        std::shared_ptr<Folder> folder;
        std::string_view name;
        std::optional<FileStatus> status;
        std::uint32_t reading = notRead;  // its place in readings_
    };
    struct Reading {
        const Entry* entry;
        bool mayBeRemembered;
        std::optional<HashedBytes> bytes;
    };

    [[nodiscard]] Entry* find(const Record& record, RecordKey key);
    void finishLooking();
    void readUpTo(std::size_t reading);
    void beginReading();
    void dropUnwanted();
    static void read(Reading& reading) noexcept;

    PayloadStorage& payloads_;
    LargeVector<Entry> entries_;
    std::size_t next_ = 0;  // entries before it have been asked for, or never will be
    bool isLooked_ = false;
    LargeVector<Reading> readings_;  // by entry
    std::size_t droppedEnd_ = 0;     // those before it hold no bytes any more
    std::size_t readEnd_ = 0;        // those before it have been read
    std::size_t batchEnd_ = 0;       // those before it have been read or are at the moment
    // Last, since they touch the others.
    std::optional<SharedWork> looking_;
    std::optional<SharedWork> reading_;
};

}  // namespace kelto
