#include "kelto/persistence/FileIdentities.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

namespace {

/// Device and inode use all 64 bits, the database's integers have a sign: the bits are what counts.
std::int64_t stored(std::uint64_t bits) {
    return std::bit_cast<std::int64_t>(bits);
}

std::uint64_t loaded(std::int64_t integer) {
    return std::bit_cast<std::uint64_t>(integer);
}

}  // namespace

std::size_t FileIdentities::KeyHash::operator()(const Key& key) const noexcept {
    // Inodes of one device are mostly neighbours: spread them over all bits.
    const std::uint64_t mixed = (key.inode ^ std::rotl(key.device, 32)) * 0x9E3779B97F4A7C15;
    return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

FileIdentities::FileIdentities(SqliteDatabase& database, Clock& clock)
    : database_(database),
      clock_(clock),
      insert_(database,
              R"(INSERT OR REPLACE INTO "FileIdentity" )"
              R"(("device", "inode", "size", "modified", "changed", "digest") )"
              R"(VALUES (?, ?, ?, ?, ?, ?))"),
      delete_(database, R"(DELETE FROM "FileIdentity" WHERE "device" = ? AND "inode" = ?)") {}

void FileIdentities::loadOnce() {
    if (isLoaded_) return;
    SqliteStatement select(database_,
                           R"(SELECT "device", "inode", "size", "modified", "changed", "digest" )"
                           R"(FROM "FileIdentity")");
    while (select.step()) {
        Entry entry{.size = loaded(select.integer(2)),
                    .modifiedNanoseconds = select.integer(3),
                    .changedNanoseconds = select.integer(4),
                    .digest = {},
                    .lastUse = 0};
        const Bytes digest = select.blob(5);
        if (digest.size() != entry.digest.bytes.size()) continue;
        std::memcpy(entry.digest.bytes.data(), digest.data(), digest.size());
        // What was learnt here before the table was read is at least as new.
        entries_.emplace(Key{loaded(select.integer(0)), loaded(select.integer(1))}, entry);
    }
    isLoaded_ = true;
}

const Digest* FileIdentities::find(const FileStatus& status) {
    loadOnce();
    const auto found = entries_.find(keyOf(status));
    if (found == entries_.end()) return nullptr;
    Entry& entry = found->second;
    const bool isSame = entry.size == status.size &&
                        entry.modifiedNanoseconds == status.modifiedNanoseconds &&
                        entry.changedNanoseconds == status.changedNanoseconds &&
                        status.kind == FileStatus::Kind::regular;
    if (!isSame) return nullptr;
    markUsed(entry);
    return &entry.digest;
}

bool FileIdentities::isTrustworthy(const FileStatus& status) {
    // In seconds, as the clock has them: its double is exact to less than a microsecond.
    const auto latest = std::max(status.modifiedNanoseconds, status.changedNanoseconds);
    const double age = clock_.now().secondsSince1970 - static_cast<double>(latest) / 1e9;
    return age > static_cast<double>(grainNanoseconds) / 1e9;
}

void FileIdentities::remember(const FileStatus& status, const Digest& digest) {
    loadOnce();
    const Key key = keyOf(status);
    Entry& entry = entries_[key];
    entry.size = status.size;
    entry.modifiedNanoseconds = status.modifiedNanoseconds;
    entry.changedNanoseconds = status.changedNanoseconds;
    entry.digest = digest;
    markUsed(entry);
    unwritten_.push_back(key);
}

void FileIdentities::forget(const FileStatus& status) {
    const Key key = keyOf(status);
    entries_.erase(key);
    forgotten_.push_back(key);
}

void FileIdentities::markUsed(Entry& entry) {
    if (entry.lastUse == period_) return;
    entry.lastUse = period_;
    ++usedInPeriod_;
}

void FileIdentities::write() {
    for (const Key& key : forgotten_) deleteRow(key);
    for (const Key& key : unwritten_) {
        const auto found = entries_.find(key);
        if (found != entries_.end()) writeRow(key, found->second);
    }
    // Only new entries can make them too many, so a commit that learnt nothing writes nothing.
    if (!unwritten_.empty()) dropUnused();
}

void FileIdentities::dropUnused() {
    dropped_.clear();
    if (entries_.size() <= 2 * usedInPeriod_ + spareEntries) return;
    for (const auto& [key, entry] : entries_) {
        if (entry.lastUse == period_) continue;
        deleteRow(key);
        dropped_.push_back(key);
    }
}

void FileIdentities::writeRow(const Key& key, const Entry& entry) {
    insert_.integer(0, stored(key.device));
    insert_.integer(1, stored(key.inode));
    insert_.integer(2, stored(entry.size));
    insert_.integer(3, entry.modifiedNanoseconds);
    insert_.integer(4, entry.changedNanoseconds);
    insert_.blob(5, std::as_bytes(std::span(entry.digest.bytes)));
    insert_.run();
    countWork(Work::rowsWritten);
}

void FileIdentities::deleteRow(const Key& key) {
    delete_.integer(0, stored(key.device));
    delete_.integer(1, stored(key.inode));
    delete_.run();
    countWork(Work::rowsWritten);
}

void FileIdentities::committed() noexcept {
    for (const Key& key : dropped_) entries_.erase(key);
    dropped_.clear();
    unwritten_.clear();
    forgotten_.clear();
    ++period_;
    usedInPeriod_ = 0;
}

}  // namespace kelto
