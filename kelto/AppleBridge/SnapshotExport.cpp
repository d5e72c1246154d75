#include "kelto/AppleBridge/SnapshotExport.hpp"

#include <utility>

#include "kelto/AppleBridge/ErrorEnvelope.hpp"
#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/ThingRecord.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/WorkCounters.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

constexpr std::string_view receivedName = "received";

}  // namespace

SnapshotExport::SnapshotExport(ModelContext& context,
                               const ExchangeRequest& request,
                               FileSystem& files,
                               Random& random)
    : context_(context),
      request_(request),
      files_(files),
      random_(random),
      receivedFolder_(absolutePath(files, joinedPath(request.directory(), receivedName))) {}

std::string SnapshotExport::response(std::string_view status, const std::optional<Date>& lastSync) {
    files_.createFolders(receivedFolder_);
    requireOwnFolder();

    RecordWriter envelope(json_);
    envelope.text("directory", request_.directory());
    if (lastSync) envelope.timestamp("lastSync", *lastSync);
    envelope.value("records") += '[';
    for (const Project* project : context_.fetch<Project>()) appendProject(*project);
    for (const Tag* tag : context_.fetch<Tag>()) appendTag(*tag);
    for (const Thing* thing : context_.fetch<Thing>()) appendThing(*thing);
    json_ += ']';
    envelope.text("status", status);
    envelope.integer("version", bridgeProtocolVersion);
    envelope.close();
    return std::move(json_);
}

void SnapshotExport::requireOwnFolder() {
    const auto directory = files_.resolvedPath(withoutLastPathComponent(receivedFolder_));
    const auto received = files_.resolvedPath(receivedFolder_);
    if (directory && received == joinedPath(*directory, receivedName)) return;
    throw PlatformError::described(
        errorDomain::cocoa,
        512,  // "a file could not be written", as the platform's own layer numbers it
        "The folder “received” in the exchange folder is a link to another place. Remove the link, "
        "so that payload files can be written.");
}

void SnapshotExport::appendProject(const Project& project) {
    separate();
    RecordWriter record = base(json_, "Project", project.uuid(), project.createdAt());
    record.text("name", project.name());
    record.integer("sortOrder", project.sortOrder());
    record.text("linkedFolderOwner", project.linkedFolderOwner());
    if (project.parent() != nullptr) record.identifier("parent", project.parent()->uuid());
    record.close();
}

void SnapshotExport::appendTag(const Tag& tag) {
    separate();
    RecordWriter record = base(json_, "Tag", tag.uuid(), tag.createdAt());
    record.text("name", tag.name());
    record.close();
}

void SnapshotExport::appendThing(const Thing& thing) {
    const DerivedDigests digests = fingerprintsOf(thing);
    const std::string fileDigest = digests.file.hex();
    const std::string fingerprint = digests.record.hex();
    const std::string pathPrefix = joinedPath(receivedFolder_, thing.uuid().lowerCaseText()) + ".";
    // The host holds this version of the thing, files included: nothing to write.
    if (request_.knownFingerprint(thing.uuid()) != fingerprint) writePayloads(thing, pathPrefix);
    separate();
    appendThingRecord(json_, thing, fileDigest, fingerprint, pathPrefix);
}

void SnapshotExport::writePayloads(const Thing& thing, const std::string& pathPrefix) {
    for (const PayloadField& field : payloadFields(thing)) {
        if (!field.payload->has_value()) continue;
        // Not flushed: after a power cut the host asks for these files again, the store has them.
        writeAtomically(files_,
                        random_,
                        pathPrefix + std::string(field.key),
                        Durability::relaxed,
                        [&](File& file) { context_.payloads().copyTo(**field.payload, file); });
    }
}

void SnapshotExport::separate() {
    countWork(Work::recordsPrinted);
    if (json_.back() != '[') json_ += ',';
}

}  // namespace kelto
