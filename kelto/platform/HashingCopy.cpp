#include "kelto/platform/HashingCopy.hpp"

#include <array>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>

#include "kelto/platform/QuietThread.hpp"

namespace kelto {

namespace {

/// Adds pieces of bytes to a digest, in the order in which they come, on a thread of its own.
template <std::size_t limit>
class PieceHasher {
public:
    /// The digest is the thread's until this object ends.
    explicit PieceHasher(Sha256& digest) : digest_(digest), thread_([this] { run(); }) {}
    PieceHasher(const PieceHasher&) = delete;
    PieceHasher& operator=(const PieceHasher&) = delete;
    /// Pieces that wait are dropped, unless waitForAll() came before.
    ~PieceHasher() {
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        changed_.notify_all();
    }

    /// Waits until fewer pieces than the limit are waiting: the oldest one's buffer is free then.
    void waitForRoom() { waitUntilFewerWaitThan(limit); }
    void waitForAll() { waitUntilFewerWaitThan(1); }
    /// Takes a piece, for which there is room. It has to stay as it is until it no longer waits.
    void take(Bytes piece) {
        {
            const std::lock_guard lock(mutex_);
            pieces_[taken_++ % limit] = piece;
        }
        changed_.notify_all();
    }

private:
    void waitUntilFewerWaitThan(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return taken_ - hashed_ < count; });
    }

    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return isEnding_ || taken_ > hashed_; });
            if (isEnding_) return;
            const Bytes piece = pieces_[hashed_ % limit];
            lock.unlock();
            digest_.update(piece);
            lock.lock();
            ++hashed_;
            changed_.notify_all();
        }
    }

    Sha256& digest_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Bytes, limit> pieces_;
    std::uint64_t taken_ = 0;
    std::uint64_t hashed_ = 0;
    bool isEnding_ = false;
    QuietThread thread_;  // last: it has ended before anything that it uses goes
};

}  // namespace

HashingCopy::Copied HashingCopy::copy(Bytes head,
                                      File& source,
                                      File& destination,
                                      File::Reading reading) {
    Sha256 digest;
    std::optional<PieceHasher<bufferCount>> hasher;
    bool isAlone = !hasSecondProcessor();
    Copied copied;
    std::uint64_t number = 0;
    Bytes piece = head.empty() ? firstBuffer().first(source.read(firstBuffer())) : head;
    while (!piece.empty()) {
        if (!hasher && !isAlone && copied.size >= shortFileBytes) {
            try {
                hasher.emplace(digest);
            } catch (const std::system_error&) {
                isAlone = true;  // slower, but no reason to give up
            }
        }
        if (hasher) {
            hasher->take(piece);
        } else {
            digest.update(piece);
        }
        destination.write(piece);
        copied.size += piece.size();
        if (copied.size % File::syncStrideBytes == 0) destination.startSync(reading);
        if (piece.size() < bufferBytes) break;
        if (hasher) hasher->waitForRoom();
        const std::span<std::byte> next = buffer(++number);
        piece = next.first(source.read(next));
    }
    if (hasher) hasher->waitForAll();
    hasher.reset();
    copied.digest = digest.finish();
    return copied;
}

}  // namespace kelto
