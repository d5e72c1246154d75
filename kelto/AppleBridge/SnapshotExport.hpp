#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/RecordSplice.hpp"
#include "kelto/AppleBridge/ResponseMemory.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/OutgoingFiles.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Turns the whole saved library into the response: all projects, tags and things as records, with
/// the files of those things that the host does not hold yet written into the folder "received" of
/// the exchange folder. Changes nothing in the store. Records of objects that have not changed
/// since the last response are copied from it.
class SnapshotExport {
public:
    /// What is given is borrowed until response() has returned. `memory` is of the last response,
    /// and becomes that of this one; after a failure it must be forgotten.
    SnapshotExport(ModelContext& context,
                   const ExchangeRequest& request,
                   FileSystem& files,
                   Random& random,
                   ResponseMemory& memory);

    /// The response text. Throws the file system's or the store's error; payload files that were
    /// written before it stay.
    [[nodiscard]] std::shared_ptr<const std::string> response(std::string_view status,
                                                              const std::optional<Date>& lastSync);

private:
    /// Nothing is ever written through a link to a folder that is not the host's exchange folder.
    void requireOwnFolder();
    [[nodiscard]] std::string envelopeBefore(const std::optional<Date>& lastSync) const;
    [[nodiscard]] static std::string envelopeBehind(std::string_view status);
    /// Whether the response is the last one, letter by letter, and no file has to be written.
    [[nodiscard]] bool isAsBefore(std::string_view before, std::string_view behind) const;
    template <typename Model>
    [[nodiscard]] std::vector<ShownRecord> appendAll(const std::vector<ShownRecord>& before);
    void print(const Project& project);
    void print(const Tag& tag);
    void print(const Thing& thing);
    /// Whether the host holds the thing's files in this version; a thing without files is held.
    [[nodiscard]] bool isHeld(const Thing& thing, const ShownRecord* before) const;
    void writePayloads(const Thing& thing);
    [[nodiscard]] std::string pathPrefix(const Thing& thing) const;

    ModelContext& context_;
    const ExchangeRequest& request_;
    FileSystem& files_;
    OutgoingFiles outgoing_;
    ResponseMemory& memory_;
    std::string receivedFolder_;
    std::optional<RecordSplice> records_;
};

}  // namespace kelto
