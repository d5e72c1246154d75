#include "kelto/platform/OutgoingFiles.hpp"

#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "kelto/platform/FileTransfer.hpp"
#include "kelto/platform/QuietThread.hpp"

namespace kelto {

/// The files that wait, and the thread that writes them.
class OutgoingFiles::Queue {
public:
    explicit Queue(Folder& folder) : folder_(folder), thread_([this] { run(); }) {}
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() {
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        given_.notify_one();
    }

    void add(std::string temporaryName, const std::string& name, Bytes bytes) {
        // When all places are taken, it goes on when half of them are free: woken for each single
        // one, the two threads would do little but wake each other.
        if (added_ - doneAsSeen_ == places) waitUntilAtMostWait(places / 2);
        Waiting& place = waiting_[added_ % places];
        place.temporaryName = std::move(temporaryName);
        place.name = name;
        place.bytes.assign(bytes.begin(), bytes.end());
        {
            const std::lock_guard lock(mutex_);
            throwFailure();
            ++added_;
        }
        given_.notify_one();
    }

    void waitForAll() { waitUntilAtMostWait(0); }

private:
    static constexpr std::uint64_t places = 32;

    struct Waiting {
        std::string temporaryName;
        std::string name;
        std::vector<std::byte> bytes;  // its memory is used again
    };

    void waitUntilAtMostWait(std::uint64_t count) {
        std::unique_lock lock(mutex_);
        awaited_ = count;
        done_.wait(lock, [&] { return failure_ || added_ - written_ <= count; });
        throwFailure();
        doneAsSeen_ = written_;
    }

    void throwFailure() const {
        if (failure_) std::rethrow_exception(failure_);
    }

    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            given_.wait(lock, [this] { return isEnding_ || added_ > written_; });
            if (isEnding_) return;
            const Waiting& next = waiting_[written_ % places];
            lock.unlock();
            std::exception_ptr failure = write(next);
            lock.lock();
            if (failure) {
                failure_ = std::move(failure);
                done_.notify_one();
                return;
            }
            ++written_;
            if (added_ - written_ == awaited_) done_.notify_one();
        }
    }

    std::exception_ptr write(const Waiting& file) {
        try {
            writeAtomically(folder_, file.temporaryName, file.name, [&](File& destination) {
                destination.write(file.bytes);
            });
            return nullptr;
        } catch (...) {
            return std::current_exception();
        }
    }

    Folder& folder_;
    std::array<Waiting, places> waiting_;
    std::uint64_t doneAsSeen_ = 0;  // the caller's: how many were written when it last waited
    std::mutex mutex_;
    std::condition_variable given_;
    std::condition_variable done_;
    std::uint64_t added_ = 0;
    std::uint64_t written_ = 0;
    std::uint64_t awaited_ = 0;  // wake the caller when so many are left
    std::exception_ptr failure_;
    bool isEnding_ = false;
    QuietThread thread_;  // last: it has ended before anything that it uses goes
};

OutgoingFiles::OutgoingFiles(Folder& folder, Random& random)
    : folder_(folder), random_(random), isAlone_(!hasSecondProcessor()) {}

OutgoingFiles::~OutgoingFiles() = default;

void OutgoingFiles::write(const std::string& name, Bytes bytes) {
    if (!queue_ && !isAlone_ && written_ >= filesWrittenAlone) {
        try {
            queue_ = std::make_unique<Queue>(folder_);
        } catch (const std::system_error&) {
            isAlone_ = true;  // slower, but no reason to give up
        }
    }
    if (queue_) {
        queue_->add(temporaryPathBeside(name, random_), name, bytes);
    } else {
        writeNow(name, [bytes](File& file) { file.write(bytes); });
    }
}

void OutgoingFiles::writeNow(const std::string& name, const std::function<void(File&)>& fill) {
    finish();
    writeAtomically(folder_, temporaryPathBeside(name, random_), name, fill);
    ++written_;
}

void OutgoingFiles::finish() {
    if (queue_) queue_->waitForAll();
}

}  // namespace kelto
