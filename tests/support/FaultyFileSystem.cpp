#include "tests/support/FaultyFileSystem.hpp"

#include <array>
#include <mutex>
#include <numeric>
#include <utility>
#include <vector>

#include <fnmatch.h>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

namespace {

bool isReading(FileOperation operation) {
    switch (operation) {
        case FileOperation::openForReading:
        case FileOperation::openFolder:
        case FileOperation::status:
        case FileOperation::resolvedPath:
        case FileOperation::list:
        case FileOperation::currentFolder:
        case FileOperation::fileStatus:
        case FileOperation::fileRead:
            return true;
        default:
            return false;
    }
}

bool matches(const FileFault& fault, FileOperation operation, const std::string& path) {
    return (!fault.operation || *fault.operation == operation) &&
           ::fnmatch(fault.pathPattern.c_str(), path.c_str(), 0) == 0;
}

}  // namespace

/// The chosen faults and the counts, shared with open files, which may live longer.
class FaultyFileSystem::Faults {
public:
    void add(FileFault fault) {
        const std::lock_guard lock(mutex_);
        faults_.push_back(std::move(fault));
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        faults_.clear();
    }
    std::uint64_t count() const {
        const std::lock_guard lock(mutex_);
        return std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0});
    }
    std::uint64_t count(FileOperation operation) const {
        const std::lock_guard lock(mutex_);
        return counts_.at(static_cast<std::size_t>(operation));
    }

    void beforeNext(FileOperation operation, std::function<void()> action) {
        const std::lock_guard lock(mutex_);
        action_ = {operation, std::move(action)};
    }
    void stopClock(std::optional<std::int64_t> nanoseconds) {
        const std::lock_guard lock(mutex_);
        stoppedClock_ = nanoseconds;
    }
    /// What the file system says, by its own clock.
    FileStatus seen(FileStatus status) const {
        const std::lock_guard lock(mutex_);
        if (!stoppedClock_) return status;
        status.modifiedNanoseconds = *stoppedClock_;
        status.changedNanoseconds = *stoppedClock_;
        return status;
    }
    std::optional<FileStatus> seen(const std::optional<FileStatus>& status) const {
        return status ? std::optional(seen(*status)) : std::nullopt;
    }

    /// Counts one call; throws when it is to fail.
    void meet(FileOperation operation, std::string_view path, std::string_view otherPath = {}) {
        act(operation);
        const std::lock_guard lock(mutex_);
        ++counts_.at(static_cast<std::size_t>(operation));
        for (auto fault = faults_.begin(); fault != faults_.end(); ++fault) {
            const bool isMeant =
                matches(*fault, operation, std::string(path)) ||
                (!otherPath.empty() && matches(*fault, operation, std::string(otherPath)));
            if (!isMeant) continue;
            if (fault->after > 0) {
                --fault->after;
                continue;
            }
            const int errorNumber = fault->errorNumber;
            if (fault->onlyOnce) faults_.erase(fault);
            throw isReading(operation) ? PlatformError::fileRead(path, errorNumber)
                                       : PlatformError::fileWrite(path, errorNumber);
        }
    }

private:
    static constexpr std::size_t operationKinds =
        static_cast<std::size_t>(FileOperation::fileSync) + 1;

    void act(FileOperation operation) {
        std::function<void()> action;
        {
            const std::lock_guard lock(mutex_);
            if (action_.first == operation) action = std::exchange(action_.second, nullptr);
        }
        if (action) action();
    }

    mutable std::mutex mutex_;
    std::pair<FileOperation, std::function<void()>> action_{};
    std::optional<std::int64_t> stoppedClock_;
    std::vector<FileFault> faults_;
    std::array<std::uint64_t, operationKinds> counts_{};
};

class FaultyFileSystem::WatchedFile final : public File {
public:
    WatchedFile(std::unique_ptr<File> inner, std::shared_ptr<Faults> faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}

    [[nodiscard]] const std::string& path() const override { return inner_->path(); }
    [[nodiscard]] FileStatus status() override {
        faults_->meet(FileOperation::fileStatus, path());
        return faults_->seen(inner_->status());
    }
    [[nodiscard]] std::size_t read(std::span<std::byte> buffer) override {
        faults_->meet(FileOperation::fileRead, path());
        return inner_->read(buffer);
    }
    void write(Bytes bytes) override {
        faults_->meet(FileOperation::fileWrite, path());
        inner_->write(bytes);
    }
    std::uint64_t copyFrom(File& source) override {
        faults_->meet(FileOperation::fileRead, source.path());
        faults_->meet(FileOperation::fileWrite, path());
        auto* watched = dynamic_cast<WatchedFile*>(&source);
        return inner_->copyFrom(watched != nullptr ? *watched->inner_ : source);
    }
    void startSync(Reading reading) override { inner_->startSync(reading); }
    void sync() override {
        faults_->meet(FileOperation::fileSync, path());
        inner_->sync();
    }

private:
    std::unique_ptr<File> inner_;
    std::shared_ptr<Faults> faults_;
};

class FaultyFileSystem::WatchedFolder final : public Folder {
public:
    WatchedFolder(std::unique_ptr<Folder> inner, std::shared_ptr<Faults> faults)
        : inner_(std::move(inner)), faults_(std::move(faults)) {}

    [[nodiscard]] const std::string& path() const override { return inner_->path(); }
    [[nodiscard]] std::optional<FileStatus> status(std::string_view name) override {
        faults_->meet(FileOperation::status, joinedPath(path(), name));
        return faults_->seen(inner_->status(name));
    }
    [[nodiscard]] std::unique_ptr<File> openForReading(std::string_view name) override {
        faults_->meet(FileOperation::openForReading, joinedPath(path(), name));
        return std::make_unique<WatchedFile>(inner_->openForReading(name), faults_);
    }
    [[nodiscard]] std::unique_ptr<File> create(std::string_view name) override {
        faults_->meet(FileOperation::create, joinedPath(path(), name));
        return std::make_unique<WatchedFile>(inner_->create(name), faults_);
    }
    void rename(std::string_view from, std::string_view to) override {
        faults_->meet(FileOperation::rename, joinedPath(path(), to), joinedPath(path(), from));
        inner_->rename(from, to);
    }
    void remove(std::string_view name) override {
        faults_->meet(FileOperation::remove, joinedPath(path(), name));
        inner_->remove(name);
    }
    [[nodiscard]] bool hold(Hold hold) override { return inner_->hold(hold); }

private:
    std::unique_ptr<Folder> inner_;
    std::shared_ptr<Faults> faults_;
};

FaultyFileSystem::FaultyFileSystem(std::shared_ptr<FileSystem> inner)
    : inner_(std::move(inner)), faults_(std::make_shared<Faults>()) {}

FaultyFileSystem::~FaultyFileSystem() = default;

void FaultyFileSystem::fail(FileFault fault) {
    faults_->add(std::move(fault));
}

void FaultyFileSystem::heal() {
    faults_->clear();
}

void FaultyFileSystem::beforeNext(FileOperation operation, std::function<void()> action) {
    faults_->beforeNext(operation, std::move(action));
}

void FaultyFileSystem::stopClock(std::optional<std::int64_t> nanoseconds) {
    faults_->stopClock(nanoseconds);
}

std::uint64_t FaultyFileSystem::count() const {
    return faults_->count();
}

std::uint64_t FaultyFileSystem::count(FileOperation operation) const {
    return faults_->count(operation);
}

std::unique_ptr<File> FaultyFileSystem::openForReading(std::string_view path) {
    faults_->meet(FileOperation::openForReading, path);
    return std::make_unique<WatchedFile>(inner_->openForReading(path), faults_);
}

std::unique_ptr<Folder> FaultyFileSystem::openFolder(std::string_view path) {
    faults_->meet(FileOperation::openFolder, path);
    return std::make_unique<WatchedFolder>(inner_->openFolder(path), faults_);
}

std::unique_ptr<File> FaultyFileSystem::create(std::string_view path) {
    faults_->meet(FileOperation::create, path);
    return std::make_unique<WatchedFile>(inner_->create(path), faults_);
}

std::optional<FileStatus> FaultyFileSystem::status(std::string_view path) {
    faults_->meet(FileOperation::status, path);
    return faults_->seen(inner_->status(path));
}

std::optional<std::string> FaultyFileSystem::resolvedPath(std::string_view path) {
    faults_->meet(FileOperation::resolvedPath, path);
    return inner_->resolvedPath(path);
}

std::vector<std::string> FaultyFileSystem::list(std::string_view folder) {
    faults_->meet(FileOperation::list, folder);
    return inner_->list(folder);
}

std::string FaultyFileSystem::currentFolder() {
    faults_->meet(FileOperation::currentFolder, ".");
    return inner_->currentFolder();
}

void FaultyFileSystem::createFolders(std::string_view path) {
    faults_->meet(FileOperation::createFolders, path);
    inner_->createFolders(path);
}

void FaultyFileSystem::rename(std::string_view from, std::string_view to) {
    faults_->meet(FileOperation::rename, to, from);
    inner_->rename(from, to);
}

bool FaultyFileSystem::swap(std::string_view one, std::string_view other) {
    faults_->meet(FileOperation::rename, other);
    return canSwap_ && inner_->swap(one, other);
}

void FaultyFileSystem::removeFolder(std::string_view path) {
    faults_->meet(FileOperation::remove, path);
    inner_->removeFolder(path);
}

void FaultyFileSystem::makePrivate(std::string_view path) {
    inner_->makePrivate(path);
}

void FaultyFileSystem::remove(std::string_view path) {
    faults_->meet(FileOperation::remove, path);
    inner_->remove(path);
}

void FaultyFileSystem::syncFolder(std::string_view path) {
    faults_->meet(FileOperation::syncFolder, path);
    inner_->syncFolder(path);
}

}  // namespace kelto
