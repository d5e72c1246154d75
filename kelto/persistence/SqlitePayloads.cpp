#include "kelto/persistence/SqlitePayloads.hpp"

#include <exception>
#include <span>
#include <utility>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/persistence/SqliteStatements.hpp"
#include "kelto/persistence/StoreErrors.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

Bytes digestBytes(const Payload& payload) {
    return std::as_bytes(std::span(payload.digest.bytes));
}

PlatformError missing(const Payload& payload) {
    return damagedStore("the bytes of a file are missing or changed (" + payload.digest.hex() +
                        ")");
}

}  // namespace

SqlitePayloads::SqlitePayloads(const Schema& schema,
                               SqliteDatabase& database,
                               FileSystem& files,
                               Clock& clock,
                               Random& random,
                               std::string externalFolder)
    : files_(files),
      random_(random),
      externalFolder_(std::move(externalFolder)),
      identities_(database, clock),
      select_(database, R"(SELECT "size", "bytes" IS NULL FROM "Payload" WHERE "digest" = ?)"),
      selectBytes_(database, R"(SELECT "size", "bytes" FROM "Payload" WHERE "digest" = ?)"),
      insert_(database, R"(INSERT INTO "Payload" ("digest", "size", "bytes") VALUES (?, ?, ?))"),
      deleteUnused_(database, sql::deleteUnusedPayload(schema)) {
    static_assert(inlineLimitBytes < HashingCopy::bufferBytes);
}

std::optional<Payload> SqlitePayloads::seenBefore(const FileStatus& status) {
    const Digest* digest = identities_.find(status);
    return digest != nullptr ? std::optional(Payload{*digest}) : std::nullopt;
}

ReceivedPayload SqlitePayloads::receive(std::unique_ptr<File> source) {
    const FileStatus before = source->status();
    if (const auto payload = seenBefore(before)) return {*payload, before.size, std::move(source)};
    const bool isTrustworthy = identities_.isTrustworthy(before);
    ReceivedPayload received = readToEnd(*source);
    if (isTrustworthy && received.size() == before.size && source->status() == before) {
        identities_.remember(before, received.payload().digest);
    }
    return received;
}

ReceivedPayload SqlitePayloads::receive(HashedBytes read) {
    countWork(Work::payloadBytesRead, read.bytes.size());
    if (read.bytes.size() <= inlineLimitBytes) {
        if (read.identity) identities_.remember(*read.identity, read.digest);
        return {Payload{read.digest}, std::move(read.bytes)};
    }
    ReceivedPayload received = receiveIntoFile(read.path, [&](File& file) {
        file.write(bytesOf(read.bytes));
        return HashingCopy::Copied{read.bytes.size(), read.digest};
    });
    if (read.identity) identities_.remember(*read.identity, read.digest);
    return received;
}

ReceivedPayload SqlitePayloads::readToEnd(File& source) {
    const Bytes head = copy_.firstBuffer().first(source.read(copy_.firstBuffer()));
    countWork(Work::payloadBytesRead, head.size());
    if (head.size() <= inlineLimitBytes) {
        return {Payload{sha256(head)}, std::string(textOf(head))};
    }
    return receiveIntoFile(source.path(), [&](File& file) {
        HashingCopy::Copied copied = copy_.copy(head, source, file, File::Reading::soon);
        countWork(Work::payloadBytesRead, copied.size - head.size());
        return copied;
    });
}

template <typename Fill>
ReceivedPayload SqlitePayloads::receiveIntoFile(const std::string& sourcePath, const Fill& fill) {
    const std::string path = temporaryPathBeside(joinedPath(externalFolder_, "payload"), random_);
    return namingInsteadOf(path, sourcePath, [&] {
        // Somebody may have tidied the folder away while it was empty.
        createFoldersDurably(files_, externalFolder_);
        // Owned from here on, so that a failed read or write leaves no file behind.
        ReceivedPayload received({}, 0, files_, files_.create(path));
        const HashingCopy::Copied copied = fill(*received.temporary_);
        countWork(Work::payloadBytesWritten, copied.size);
        received.size_ = copied.size;
        received.payload_ = {copied.digest};
        return received;
    });
}

void SqlitePayloads::readNow(ReceivedPayload& received) {
    const std::unique_ptr<File> source = std::move(received.unread_);
    ReceivedPayload read = readToEnd(*source);
    // Somebody has changed the bytes and put the times back.
    if (read.payload() != received.payload()) identities_.forget(source->status());
    received = std::move(read);
}

bool SqlitePayloads::holds(const ReceivedPayload& received) {
    const Digest& digest = received.payload_.digest;
    const auto stored = find(digest);
    // Of another size, the file cannot be what it was taken for.
    if (!stored || stored->size != received.size_) return false;
    return !stored->isInFile || isWhole(filePath(digest), stored->size);
}

bool SqlitePayloads::isSound(const Payload& payload, std::uint64_t size) {
    return size <= inlineLimitBytes || isWhole(filePath(payload.digest), size);
}

void SqlitePayloads::keep(ReceivedPayload& received) {
    if (received.unread_) {
        if (holds(received)) return;
        readNow(received);
    }
    const Digest& digest = received.payload_.digest;
    if (find(digest)) {
        if (!received.temporary_ || isWhole(filePath(digest), received.size_)) return;
        // The stored file was lost or cut by somebody: the same bytes have come again. A row names
        // them already, so they have to be on the disk first.
        received.temporary_->sync();
        (void)moveIntoPlace(received);
        files_.syncFolder(externalFolder_);
        return;
    }
    if (received.temporary_) {
        // On its way to the disk while the work goes on; flush() waits for it.
        received.temporary_->startSync(File::Reading::soon);
        arrived_[digest] = moveIntoPlace(received);
        insert_.null(2);
    } else {
        insert_.blob(2, bytesOf(received.bytes_));
        arrivedInRows_.insert(digest);
        countWork(Work::payloadBytesWritten, received.size_);
    }
    insert_.blob(0, digestBytes(received.payload_));
    insert_.integer(1, static_cast<std::int64_t>(received.size_));
    insert_.run();
    countWork(Work::rowsWritten);
}

FileStatus SqlitePayloads::moveIntoPlace(ReceivedPayload& received) {
    const std::string place = filePath(received.payload_.digest);
    files_.rename(received.temporary_->path(), place);
    const std::unique_ptr<File> moved = std::move(received.temporary_);
    return namingInsteadOf(moved->path(), place, [&] { return moved->status(); });
}

std::optional<SqlitePayloads::Stored> SqlitePayloads::find(const Digest& digest) {
    const StatementUse use(select_);
    select_.blob(0, std::as_bytes(std::span(digest.bytes)));
    if (!select_.step()) return std::nullopt;
    return Stored{static_cast<std::uint64_t>(select_.integer(0)), select_.integer(1) != 0};
}

bool SqlitePayloads::isWhole(const std::string& path, std::uint64_t size) {
    const auto status = files_.status(path);
    return status && status->kind == FileStatus::Kind::regular && status->size == size;
}

SqlitePayloads::StoredBytes SqlitePayloads::storedBytes(const Payload& payload) {
    selectBytes_.blob(0, digestBytes(payload));
    if (!selectBytes_.step()) throw missing(payload);
    return {static_cast<std::uint64_t>(selectBytes_.integer(0)),
            selectBytes_.isNull(1),
            selectBytes_.blob(1)};
}

void SqlitePayloads::copyTo(const Payload& payload, File& destination) {
    const StatementUse use(selectBytes_);
    const StoredBytes row = storedBytes(payload);
    if (row.isInFile) return copyFile(payload, row.size, destination);
    requireIntact(payload, row);
    destination.write(row.bytes);
    countWork(Work::payloadBytesWritten, row.size);
}

void SqlitePayloads::handOut(const Payload& payload,
                             const std::string& name,
                             OutgoingFiles& files) {
    const StatementUse use(selectBytes_);
    const StoredBytes row = storedBytes(payload);
    if (row.isInFile) {
        return files.writeNow(name,
                              [&](File& destination) { copyFile(payload, row.size, destination); });
    }
    requireIntact(payload, row);
    files.write(name, row.bytes);
    countWork(Work::payloadBytesWritten, row.size);
}

void SqlitePayloads::requireIntact(const Payload& payload, const StoredBytes& row) const {
    if (row.bytes.size() != row.size) throw missing(payload);
    // The database has no checksums of its own. But what it was given a moment ago was hashed then:
    // of an import, each file would be hashed twice, in as much time as it takes to make it.
    if (justWrittenRows_.contains(payload.digest)) return;
    if (sha256(row.bytes) != payload.digest) throw missing(payload);
}

std::unique_ptr<File> SqlitePayloads::opened(const Payload& payload, std::uint64_t size) {
    const std::string path = filePath(payload.digest);
    if (!isWhole(path, size)) throw missing(payload);
    try {
        return files_.openForReading(path);
    } catch (const PlatformError&) {
        // Another program has dropped it since it was looked at.
        if (!files_.status(path)) throw missing(payload);
        throw;
    }
}

void SqlitePayloads::copyFile(const Payload& payload, std::uint64_t size, File& destination) {
    const auto source = opened(payload, size);
    const FileStatus before = source->status();
    const bool isKnown = isUnaltered(payload.digest, before);
    const bool isTrustworthy = !isKnown && identities_.isTrustworthy(before);
    const HashingCopy::Copied copied =
        isKnown ? HashingCopy::Copied{destination.copyFrom(*source), payload.digest}
                : copy_.copy({}, *source, destination, File::Reading::perhaps);
    countWork(Work::payloadBytesRead, copied.size);
    countWork(Work::payloadBytesWritten, copied.size);
    const bool hasStayed = source->status() == before;
    // The host would put wrong bytes in the place of right ones.
    if (copied.size != size || copied.digest != payload.digest || (isKnown && !hasStayed)) {
        throw missing(payload);
    }
    if (isTrustworthy && hasStayed) identities_.remember(before, payload.digest);
}

bool SqlitePayloads::isUnaltered(const Digest& digest, const FileStatus& status) {
    const auto written = justWritten_.find(digest);
    if (written != justWritten_.end() && written->second == status) return true;
    const Digest* known = identities_.find(status);
    return known != nullptr && *known == digest;
}

std::uint64_t SqlitePayloads::size(const Payload& payload) {
    if (const auto stored = find(payload.digest)) return stored->size;
    throw missing(payload);
}

void SqlitePayloads::dropUnused(const std::vector<Payload>& released) {
    for (const Payload& payload : released) {
        const StatementUse use(deleteUnused_);
        deleteUnused_.blob(0, digestBytes(payload));
        while (deleteUnused_.step()) {
            if (deleteUnused_.integer(0) != 0) dropped_.push_back(payload.digest);
        }
    }
}

void SqlitePayloads::flush() {
    for (const auto& [digest, status] : arrived_) files_.openForReading(filePath(digest))->sync();
    if (!arrived_.empty()) files_.syncFolder(externalFolder_);
    identities_.write();
}

void SqlitePayloads::committed() noexcept {
    identities_.committed();
    justWritten_.swap(arrived_);
    arrived_.clear();
    justWrittenRows_.swap(arrivedInRows_);
    arrivedInRows_.clear();
    suspects_.insert(suspects_.end(), dropped_.begin(), dropped_.end());
    dropped_.clear();
}

void SqlitePayloads::discardArrived() noexcept {
    for (const auto& [digest, status] : arrived_) removeQuietly(filePath(digest));
    arrived_.clear();
    arrivedInRows_.clear();
    dropped_.clear();
}

void SqlitePayloads::suspectArrived() noexcept {
    for (const auto& [digest, status] : arrived_) suspects_.push_back(digest);
    arrived_.clear();
    arrivedInRows_.clear();
    dropped_.clear();
}

void SqlitePayloads::removeSuspects() noexcept {
    try {
        for (const Digest& digest : suspects_) {
            if (!isNamed(digest)) removeQuietly(filePath(digest));
        }
    } catch (const std::exception&) {
        // The database cannot be asked: they stay, as strays to be swept when the store opens next.
    }
    suspects_.clear();
}

void SqlitePayloads::sweep(LostAndFound* lostAndFound) {
    for (const std::string& name : files_.list(externalFolder_)) {
        const auto digest = Digest::parse(name);
        // Only files of our own making: whatever else lies here is not ours to remove.
        const bool isStray = digest ? !isNamed(*digest) : isTemporaryName(name);
        if (!isStray) continue;
        const std::string path = joinedPath(externalFolder_, name);
        if (digest && lostAndFound != nullptr) {
            (void)lostAndFound->move(path);
        } else {
            removeQuietly(path);
        }
    }
}

bool SqlitePayloads::isNamed(const Digest& digest) {
    const auto stored = find(digest);
    return stored && stored->isInFile;
}

void SqlitePayloads::removeQuietly(const std::string& path) noexcept {
    try {
        files_.remove(path);
    } catch (const std::exception&) {
        // A stray: swept when the store is opened next.
    }
}

std::string SqlitePayloads::filePath(const Digest& digest) const {
    return joinedPath(externalFolder_, digest.hex());
}

}  // namespace kelto
