#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/platform/QuietThread.hpp"

namespace kelto {

/// Copies the write-ahead log of a store into its database (a “checkpoint”) on a thread of its own,
/// over a connection of its own: after a large commit that takes longer than the commit, and nobody
/// needs to wait for it. The functions belong to the main thread; the other one knows nothing but
/// the file.
class SqliteCheckpoints {
public:
    /// A log of this many pages (4 MB) is copied. Once it is, the next commit begins it anew.
    static constexpr int copiedPages = 1000;
    /// A log that has come to this many (64 MB) and grows on, because other commits follow too
    /// quickly or the thread fails, is copied on the main thread.
    static constexpr int mostPages = 16 * 1024;

    /// `database` is the connection that commits. From now on it leaves the log alone. `logBytes`
    /// is how long somebody who has gone has left the log.
    explicit SqliteCheckpoints(SqliteDatabase& database, std::uint64_t logBytes = 0);
    /// Waits for a copy that is being made.
    ~SqliteCheckpoints();
    SqliteCheckpoints(const SqliteCheckpoints&) = delete;
    SqliteCheckpoints& operator=(const SqliteCheckpoints&) = delete;

    /// After each commit: has the log copied when it has become long.
    void committed() noexcept;
    /// At the end of a unit of work: has a long log copied that could not be emptied up to now,
    /// since somebody was at work, in this process perhaps.
    void rested() noexcept;
    /// Waits until no copy is wanted or being made.
    void wait();

private:
    void copyInBackground();
    void run(const std::string& path);

    SqliteDatabase& database_;
    int pages_ = 0;  // of the log, after the last commit that wrote something
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isWanted_ = false;
    bool isCopying_ = false;
    bool isEnding_ = false;
    std::atomic<bool> isLogLeft_;        // a long one, copied or not
    std::optional<QuietThread> thread_;  // from the first long log on
};

}  // namespace kelto
