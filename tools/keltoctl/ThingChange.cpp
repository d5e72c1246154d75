#include "tools/keltoctl/ThingChange.hpp"

#include <algorithm>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/PlannedChanges.hpp"
#include "tools/keltoctl/StandardStreams.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingDocument.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

void ThingChange::add(const ProjectRecord& project) {
    records_.push_back(toRecord(project));
    sent_.push_back({.id = project.id, .name = project.name});
}

void ThingChange::add(const ThingRecord& thing) {
    records_.push_back(toRecord(thing));
    sent_.push_back({thing.id, displayTitle(thing), thing.updatedAt, true});
}

void ThingChange::remove(const Item& item) {
    records_.push_back(deletionRecord(item.recordType(), item.id()));
    sent_.push_back({.id = item.id(), .name = shownName(item)});
}

int ThingChange::preview(const Host& host, const Session& session) const {
    const auto changes = plannedChanges(session.snapshot(), records_);
    host.print(printed(changes), JsonMembers{{"dryRun", true}, {"changes", toJson(changes)}});
    return exitStatus::done;
}

int ThingChange::send(Host& host, Session& session, std::string_view verb, bool isOnlyTried) {
    if (isOnlyTried) return preview(host, session);
    const ExchangeReport report = session.send(std::move(records_));
    int status = exitStatus::done;
    std::string text;
    JsonElements items;
    for (const Sent& sent : sent_) {
        const ThingRecord* answered = session.snapshot().findThing(sent.id);
        if (answered != nullptr) items.push_back(thingDocument(session.snapshot(), *answered));
        if (sent.isThing && (answered == nullptr || answered->updatedAt != sent.updatedAt)) {
            Host::complain("“" + sent.name +
                           "” is newer in the library, so its version was kept; look at it with "
                           "“keltoctl show” and change it again.");
            status = exitStatus::refused;
            continue;
        }
        text += std::string(verb) + " “" + terminalSafe(sent.name) + "” (" +
                terminalSafe(shortIdentifier(sent.id)) + ").\n";
    }
    for (const Difference::Entry& entry : report.difference.added)
        if (entry.recordType == "Thing" &&
            std::none_of(
                sent_.begin(), sent_.end(), [&](const Sent& sent) { return sent.id == entry.id; }))
            text += "New in the library: “" + terminalSafe(entry.name) + "” (" +
                    terminalSafe(shortIdentifier(entry.id)) + ").\n";
    text += sentence(report) + ".\n";
    host.print(text, JsonMembers{{"things", std::move(items)}, {"exchange", toJson(report)}});
    return status;
}

ThingRecord changing(const ThingRecord& stored) {
    ThingRecord thing = stored;
    // Not before the stored time, or a clock that was set back would make the change an old one.
    thing.updatedAt = std::max(Host::nowMilliseconds(), stored.updatedAt);
    thing.baseFileFingerprint = stored.fileFingerprint;
    return thing;
}

void attachFile(ThingRecord& thing, const std::string& path, IncomingFolder& incoming) {
    const CopiedFile copy = incoming.add(path, thing.id);
    const std::string name(lastPathComponent(path));
    const FileDraft draft = draftOfPayload(name, copy.path);
    if (isFileBacked(kindOf(thing))) thing.kind = rawValue(draft.kind);
    thing.fileName = repairedUtf8(name);
    thing.typeIdentifier = draft.typeIdentifier;
    thing.fileSize = copy.size;
    thing.aspectRatio = draft.aspectRatio;
    thing.metadataJson = mergedMetadata(thing.metadataJson, draft.metadata);
    thing.data = copy.path;
    thing.thumbnail.reset();  // it showed the bytes of before
}

std::string textOrInput(const std::string& value) {
    if (value != "-") return value;
    return repairedUtf8(standardInput());
}

}  // namespace kelto::ctl
