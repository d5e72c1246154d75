#include "tests/persistence/LibraryStore.hpp"

#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"
#include "kelto/platform/FileTransfer.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"

namespace kelto {

LibraryStore::LibraryStore()
    : clock_(std::make_shared<FakeClock>()),
      random_(std::make_shared<SeededRandom>(1)),
      files_(std::make_shared<FaultyFileSystem>(std::make_shared<PosixFileSystem>())),
      container_(anotherContainer()) {}

std::string LibraryStore::storePath() const {
    return joinedPath(folder_.path(), "Kelto.store");
}

std::string LibraryStore::externalFolder() const {
    return externalDataFolder(storePath());
}

std::unique_ptr<ModelContainer> LibraryStore::anotherContainer() const {
    return std::make_unique<ModelContainer>(
        librarySchema(),
        std::make_unique<SqliteStore>(librarySchema(), files_, clock_, random_, storePath()),
        clock_,
        random_);
}

void LibraryStore::reopen() {
    container_.reset();
    container_ = anotherContainer();
}

Payload LibraryStore::keep(ModelContext& context, std::string_view bytes) {
    (void)context.fetch<Thing>();  // begins the unit of work
    const std::string path = joinedPath(folder_.path(), "incoming");
    writeAtomically(*files_, *random_, path, Durability::relaxed, [&](File& file) {
        file.write(bytesOf(bytes));
    });
    ReceivedPayload received = context.payloads().receive(files_->openForReading(path));
    context.payloads().keep(received);
    return received.payload();
}

std::string LibraryStore::bytes(const Payload& payload) {
    const std::string path = joinedPath(folder_.path(), "outgoing");
    writeAtomically(*files_, *random_, path, Durability::relaxed, [&](File& file) {
        container_->payloads().copyTo(payload, file);
    });
    return readWholeFile(*files_, path, std::size_t{1} << 30);
}

std::size_t LibraryStore::externalFileCount() const {
    return files_->list(externalFolder()).size();
}

std::int64_t LibraryStore::number(const std::string& query) const {
    SqliteDatabase database(storePath(), std::chrono::milliseconds(1000));
    return database.integer(query);
}

}  // namespace kelto
