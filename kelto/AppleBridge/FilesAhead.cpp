#include "kelto/AppleBridge/FilesAhead.hpp"

#include <exception>
#include <span>
#include <utility>

#include "kelto/foundation/Sha256.hpp"

namespace kelto {

namespace {

/// Files that a thread reads before it asks whether there are more.
constexpr std::size_t readingStride = 1;
/// So much is read at a time while what was read before is merged: twice as much is held at most.
constexpr std::size_t batchFiles = 256;
constexpr std::uint64_t batchBytes = FilesAhead::longestReading;
/// For fewer, the way to another thread is not worth it.
constexpr std::size_t fewestReadings = 64;

std::optional<std::string> contentsOf(File& file, std::uint64_t size) {
    // One more than there should be shows that there are more.
    std::string bytes(size + 1, '\0');
    const std::size_t read = file.read(std::as_writable_bytes(std::span(bytes)));
    if (read != size) return std::nullopt;
    bytes.resize(read);
    return bytes;
}

}  // namespace

std::optional<FileStatus> FilesAhead::look(Folder* folder, std::string_view name) noexcept {
    if (folder == nullptr) return std::nullopt;
    try {
        const auto status = folder->status(name);
        const bool isPlain = status && status->kind == FileStatus::Kind::regular;
        return isPlain ? status : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void FilesAhead::add(const Record& record,
                     RecordKey key,
                     std::shared_ptr<Folder> folder,
                     std::string_view name) {
    entries_.push_back({&record, key, std::move(folder), name, std::nullopt});
}

void FilesAhead::begin() {
    looking_.emplace(entries_.size(), lookingStride, [this](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            Entry& entry = entries_[i];
            entry.status = look(entry.folder.get(), entry.name);
        }
    });
}

FilesAhead::Found FilesAhead::take(const Record& record, RecordKey key) {
    Entry* const entry = find(record, key);
    if (entry == nullptr) return {};
    if (!isLooked_) finishLooking();
    if (entry->reading == notRead) return {entry->status, std::nullopt};
    readUpTo(entry->reading);
    return {entry->status, std::exchange(readings_[entry->reading].bytes, std::nullopt)};
}

FilesAhead::Entry* FilesAhead::find(const Record& record, RecordKey key) {
    while (next_ < entries_.size() && entries_[next_].record < &record) ++next_;
    for (std::size_t i = next_; i < entries_.size() && entries_[i].record == &record; ++i) {
        if (entries_[i].key == key) return &entries_[i];
    }
    return nullptr;
}

void FilesAhead::finishLooking() {
    looking_->finish();
    isLooked_ = true;
    for (Entry& entry : entries_) {
        if (!entry.status || entry.status->size > longestReading) continue;
        if (payloads_.seenBefore(*entry.status)) continue;
        entry.reading = static_cast<std::uint32_t>(readings_.size());
        readings_.push_back({&entry, payloads_.mayRemember(*entry.status), std::nullopt});
    }
    if (readings_.size() >= fewestReadings) return;
    for (Entry& entry : entries_) entry.reading = notRead;
    readings_.clear();
}

void FilesAhead::readUpTo(std::size_t reading) {
    while (readEnd_ <= reading) {
        if (!reading_) beginReading();
        reading_->finish();
        reading_.reset();
        dropUnwanted();
        readEnd_ = batchEnd_;
        if (readEnd_ < readings_.size()) beginReading();
    }
}

/// Nobody has asked for them, and nobody will.
void FilesAhead::dropUnwanted() {
    for (; droppedEnd_ < readEnd_; ++droppedEnd_) readings_[droppedEnd_].bytes.reset();
}

void FilesAhead::beginReading() {
    const std::size_t first = readEnd_;
    std::uint64_t bytes = readings_[first].entry->status->size;
    batchEnd_ = first + 1;
    while (batchEnd_ < readings_.size() && batchEnd_ - first < batchFiles) {
        bytes += readings_[batchEnd_].entry->status->size;
        if (bytes > batchBytes) break;
        ++batchEnd_;
    }
    reading_.emplace(
        batchEnd_ - first, readingStride, [this, first](std::size_t begin, std::size_t end) {
            for (std::size_t i = first + begin; i < first + end; ++i) read(readings_[i]);
        });
}

void FilesAhead::read(Reading& reading) noexcept {
    try {
        const Entry& entry = *reading.entry;
        const std::unique_ptr<File> file = entry.folder->openForReading(entry.name);
        if (file->status() != *entry.status) return;
        auto bytes = contentsOf(*file, entry.status->size);
        if (!bytes) return;
        HashedBytes read{file->path(), std::move(*bytes), {}, std::nullopt};
        read.digest = sha256(read.bytes);
        if (file->status() != *entry.status) return;
        if (reading.mayBeRemembered) read.identity = *entry.status;
        reading.bytes = std::move(read);
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace kelto
