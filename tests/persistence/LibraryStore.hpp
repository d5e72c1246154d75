#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContainer.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "tests/support/FakeClock.hpp"
#include "tests/support/FaultyFileSystem.hpp"
#include "tests/support/SeededRandom.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {

/// A real store in a temporary folder, with a container on it.
class LibraryStore {
public:
    LibraryStore();

    [[nodiscard]] ModelContainer& container() { return *container_; }
    [[nodiscard]] std::string storePath() const;
    [[nodiscard]] std::string externalFolder() const;
    [[nodiscard]] FaultyFileSystem& files() { return *files_; }
    [[nodiscard]] FakeClock& clock() { return *clock_; }
    [[nodiscard]] const TemporaryFolder& folder() const { return folder_; }

    /// A second program on the same store.
    [[nodiscard]] std::unique_ptr<ModelContainer> anotherContainer() const;
    /// Closes the container, as a program does that ends.
    void close() { container_.reset(); }
    /// Closes the container and opens a new one on the same files.
    void reopen();

    /// Puts bytes into the payload storage as part of the unit of work of `context`.
    Payload keep(ModelContext& context, std::string_view bytes);
    /// The stored bytes of a payload.
    [[nodiscard]] std::string bytes(const Payload& payload);
    /// How many files lie in the external folder.
    [[nodiscard]] std::size_t externalFileCount() const;
    /// The first column of the first row of a query, over a connection of its own.
    [[nodiscard]] std::int64_t number(const std::string& query) const;

private:
    TemporaryFolder folder_;
    std::shared_ptr<FakeClock> clock_;
    std::shared_ptr<SeededRandom> random_;
    std::shared_ptr<FaultyFileSystem> files_;
    std::unique_ptr<ModelContainer> container_;
};

}  // namespace kelto
