#include "kelto/AppleBridge/SnapshotExport.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/AppleBridge/FetchAhead.hpp"
#include "kelto/AppleBridge/Fingerprints.hpp"
#include "kelto/AppleBridge/RecordList.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

constexpr std::string_view receivedName = "received";

/// The permissions of the files that are made for the host.
constexpr std::uint32_t ownerMayReadAndWrite = 0600;

}  // namespace

SnapshotExport::SnapshotExport(ModelContext& context,
                               const ExchangeRequest& request,
                               FileSystem& files,
                               Random& random,
                               ResponseMemory& memory)
    : context_(context),
      request_(request),
      files_(files),
      random_(random),
      memory_(memory),
      receivedFolder_(absolutePath(files, joinedPath(request.directory(), receivedName))) {}

void SnapshotExport::removeLeftovers() {
    try {
        const auto received = openReceivedFolder();
        // Else another program is making files here: those of the dead look like its own.
        if (received->hold(Folder::Hold::alone)) removeTemporaryFiles(files_, *received);
    } catch (const PlatformError&) {
        return;  // response() says what is wrong with the folder
    }
}

LargeText SnapshotExport::response(const std::string& status,
                                   const std::optional<Date>& lastSync,
                                   const std::shared_ptr<const RequestMemory>& merged) {
    const std::unique_ptr<Folder> received = openReceivedFolder();
    (void)received->hold(Folder::Hold::together);  // where that cannot be, nobody removes anything
    context_.begin();
    ResponseBasis basis{context_.populationNumber(),
                        context_.lastChangeNumber(),
                        request_.directory(),
                        receivedFolder_,
                        lastSync,
                        status};
    const std::optional<LargeText> last = memory_.find(basis);
    // The host held all files then, and says the same of them now.
    if (last && memory_.holdsAllFiles == merged) return *last;

    const std::vector<Thing*> things = context_.fetch<Thing>();
    // The others have been printed, and remember them.
    const std::vector<Thing*> changed = memory_.changed(things);
    rememberFingerprints(changed);
    OutgoingFiles outgoing(*received, random_);
    bool hostHoldsAll = true;
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i + objectsAhead < things.size()) fetchObject(*things[i + objectsAhead]);
        if (!writePayloads(*things[i], *received, outgoing)) hostHoldsAll = false;
    }
    LargeText text = last ? *last : renewed(std::move(basis), things, changed);
    memory_.holdsAllFiles = hostHoldsAll ? merged : nullptr;
    outgoing.finish();
    return text;
}

LargeText SnapshotExport::renewed(ResponseBasis basis,
                                  std::span<Thing* const> things,
                                  std::span<Thing* const> changed) {
    TextBuffer text;
    RecordWriter envelope(text);
    envelope.text("directory", basis.directory);
    if (basis.lastSync) envelope.timestamp("lastSync", *basis.lastSync);
    envelope.value("records").append('[');
    RecordList records(receivedFolder_);
    records.appendText(text.view());
    for (const Project* project : context_.fetch<Project>()) records.append(*project);
    for (const Tag* tag : context_.fetch<Tag>()) records.append(*tag);
    text.clear();
    text.append(']');
    envelope.text("status", basis.status);
    envelope.integer("version", bridgeProtocolVersion);
    envelope.close();
    return memory_.renew(std::move(basis), std::move(records), things, changed, text.view());
}

std::unique_ptr<Folder> SnapshotExport::openReceivedFolder() {
    files_.createFolders(receivedFolder_);
    const auto directory = files_.resolvedPath(withoutLastPathComponent(receivedFolder_));
    const auto received = files_.resolvedPath(receivedFolder_);
    // By its resolved path and without following a link: what is opened is what was looked at.
    if (directory && received == joinedPath(*directory, receivedName)) {
        return files_.openFolder(*received);
    }
    throw PlatformError::described(
        errorDomain::cocoa,
        512,  // "a file could not be written", as the platform's own layer numbers it
        "The folder “received” in the exchange folder is a link to another place. Remove the link, "
        "so that payload files can be written.");
}

bool SnapshotExport::writePayloads(const Thing& thing, Folder& received, OutgoingFiles& outgoing) {
    std::optional<std::string_view> known;
    for (const PayloadField& field : payloadFields(thing)) {
        if (!field.payload) continue;
        if (!known) known = request_.knownFingerprint(thing.uuid(), knownHint_);
        // The host holds this version of the thing, files included: nothing to write.
        if (*known == fingerprintsOf(thing).record.hex()) return true;
        const std::string name = payloadName(thing, field.key);
        // A host that names no version may have lost the files.
        if (!known->empty() && isInPlace(*field.payload, received, name)) continue;
        // Not flushed: after a power cut the host asks for these files again, the store has them.
        context_.payloads().handOut(*field.payload, name, outgoing);
    }
    return !known;
}

bool SnapshotExport::isInPlace(const Payload& payload, Folder& received, const std::string& name) {
    const std::optional<FileStatus> status = received.status(name);
    return status && status->kind == FileStatus::Kind::regular &&
           status->permissions == ownerMayReadAndWrite &&
           context_.payloads().seenBefore(*status) == payload;
}

}  // namespace kelto
