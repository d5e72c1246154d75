#include "kelto/persistence/SqliteCheckpoints.hpp"

#include <chrono>
#include <exception>
#include <utility>

namespace kelto {

namespace {

constexpr std::uint64_t pageBytes = 4096;  // SQLite's own choice, and ours

/// Answers whether the log is empty afterwards.
bool copyLog(const std::string& path) noexcept {
    try {
        SqliteDatabase database(path, std::chrono::milliseconds(0));
        // A connection knows that there is a log when it has read something.
        (void)database.integer("PRAGMA schema_version");
        database.checkpoint();
        // Else the next process would read the whole log, only to learn that it has been copied.
        // Gives up when anybody is at work: this connection waits for nobody.
        return database.emptyLog();
    } catch (const std::exception&) {
        return false;  // the log stays: it is part of the store, and will be copied another time
    }
}

}  // namespace

SqliteCheckpoints::SqliteCheckpoints(SqliteDatabase& database, std::uint64_t logBytes)
    : database_(database), isLogLeft_(logBytes >= copiedPages * pageBytes) {
    database_.leaveLogAlone();
}

SqliteCheckpoints::~SqliteCheckpoints() {
    if (!thread_) return;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_all();
    thread_.reset();
}

void SqliteCheckpoints::committed() noexcept {
    const int pages = database_.takeLogPages();
    if (pages == 0) return;
    const int before = std::exchange(pages_, pages);
    if (pages < copiedPages) return;
    try {
        if (before < mostPages || pages < before) {
            copyInBackground();
            return;
        }
        wait();
    } catch (const std::exception&) {
        // No thread is to be had: the copy is made here.
    }
    database_.checkpoint();
}

void SqliteCheckpoints::rested() noexcept {
    if (!isLogLeft_) return;
    try {
        copyInBackground();
    } catch (const std::exception&) {
        // No thread is to be had: the next process reads a longer log.
    }
}

void SqliteCheckpoints::copyInBackground() {
    if (!thread_) thread_.emplace([this, path = database_.path()] { run(path); });
    {
        const std::lock_guard lock(mutex_);
        isWanted_ = true;
    }
    changed_.notify_all();
}

void SqliteCheckpoints::wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !isWanted_ && !isCopying_; });
}

void SqliteCheckpoints::run(const std::string& path) {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return isWanted_ || isEnding_; });
        if (isEnding_) return;  // closing the store copies what is left
        isWanted_ = false;
        isCopying_ = true;
        lock.unlock();
        isLogLeft_ = !copyLog(path);
        lock.lock();
        isCopying_ = false;
        changed_.notify_all();
    }
}

}  // namespace kelto
