#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/ResponseMemory.hpp"
#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/LargeText.hpp"
#include "kelto/model/Thing.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "kelto/platform/FileSystem.hpp"
#include "kelto/platform/OutgoingFiles.hpp"
#include "kelto/platform/Random.hpp"

namespace kelto {

/// Turns the whole saved library into the response: all projects, tags and things as records, with
/// the files of those things that the host does not hold yet written into the folder "received" of
/// the exchange folder. Changes nothing in the store.
class SnapshotExport {
public:
    /// What is given is borrowed until response() has returned.
    SnapshotExport(ModelContext& context,
                   const ExchangeRequest& request,
                   FileSystem& files,
                   Random& random,
                   ResponseMemory& memory);

    /// Removes what exports of processes that were killed have left in the folder "received",
    /// unless another program exports into it at this moment.
    void removeLeftovers();
    /// The response text. Throws the file system's or the store's error; payload files that were
    /// written before it stay. `merged` is what is remembered of the request: the same object as
    /// the last time when it came once more, and there was nothing to merge.
    [[nodiscard]] LargeText response(const std::string& status,
                                     const std::optional<Date>& lastSync,
                                     const std::shared_ptr<const RequestMemory>& merged);

private:
    /// The folder for the host's files, made when it is missing. Nothing is ever written through a
    /// link to a folder that is not the host's exchange folder, nor when a link takes the place of
    /// the folder later: it stays open until the last file is written.
    [[nodiscard]] std::unique_ptr<Folder> openReceivedFolder();
    [[nodiscard]] LargeText renewed(ResponseBasis basis,
                                    std::span<Thing* const> things,
                                    std::span<Thing* const> changed);
    /// Writes the thing's files unless the host holds them, which is the answer.
    bool writePayloads(const Thing& thing, Folder& received, OutgoingFiles& outgoing);
    /// Whether the file of that name is known to hold these bytes: a host that uses the files in
    /// "received" has named it, and it was read then. The title of a film can be edited without
    /// copying the film.
    [[nodiscard]] bool isInPlace(const Payload& payload, Folder& received, const std::string& name);

    ModelContext& context_;
    const ExchangeRequest& request_;
    FileSystem& files_;
    Random& random_;
    ResponseMemory& memory_;
    std::string receivedFolder_;
    std::size_t knownHint_ = 0;  // where the next known fingerprint is expected
};

}  // namespace kelto
