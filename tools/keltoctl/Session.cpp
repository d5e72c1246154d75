#include "tools/keltoctl/Session.hpp"

#include <utility>

#include <unistd.h>

#include "tools/keltoctl/ReceivedFiles.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/TerminalText.hpp"

namespace kelto::ctl {

namespace {

constexpr std::int64_t protocolVersion = 1;

bool isThere(const std::optional<std::string>& path) {
    return !path || ::access(path->c_str(), R_OK) == 0;
}

bool holdsItsPayloads(const ThingRecord& thing) {
    return isThere(thing.data) && isThere(thing.thumbnail) && isThere(thing.icon);
}

std::size_t countThings(const std::vector<Difference::Entry>& entries) {
    std::size_t count = 0;
    for (const Difference::Entry& entry : entries) count += entry.recordType == "Thing" ? 1 : 0;
    return count;
}

}  // namespace

std::string sentence(const ExchangeReport& report) {
    return counted(report.recordsSent, "record") + " sent, " +
           counted(report.fingerprintsChanged, "fingerprint") + " changed, " +
           counted(report.payloadFilesWritten, "payload file") + " written";
}

JsonValue toJson(const ExchangeReport& report) {
    JsonValue document = toJson(report.difference);
    const auto set = [&](std::string_view key, std::size_t count) {
        document.setMember(key, static_cast<std::int64_t>(count));
    };
    set("recordsSent", report.recordsSent);
    set("fingerprintsChanged", report.fingerprintsChanged);
    set("payloadFilesWritten", report.payloadFilesWritten);
    return document;
}

Session::Session(Library& library, const HostState& state, std::string storePath)
    : library_(library), state_(state), storePath_(std::move(storePath)) {
    if (auto last = state_.lastSnapshot()) {
        snapshot_ = *std::move(last);
        hasSnapshot_ = true;
    }
}

JsonValue Session::knownFingerprints() const {
    JsonMembers known;
    known.reserve(snapshot_.things().size());
    for (const ThingRecord& thing : snapshot_.things())
        // A fingerprint says "I hold the files too". Somebody may have cleaned the folder up: then
        // the library is to write them again.
        if (holdsItsPayloads(thing)) known.emplace_back("Thing:" + thing.id, thing.fingerprint);
    return known;
}

std::string Session::request(JsonElements records) const {
    JsonMembers members;
    members.emplace_back("version", protocolVersion);
    members.emplace_back("storePath", storePath_);
    members.emplace_back("directory", state_.exchangeFolder());
    members.emplace_back("records", std::move(records));
    members.emplace_back("knownFingerprints", knownFingerprints());
    return JsonValue(std::move(members)).text();
}

void Session::keepAnswer(const std::string& response, bool holdsAnyChange) const {
    try {
        state_.keepSnapshot(response);
    } catch (const Refusal& refusal) {
        if (!holdsAnyChange) throw;
        // Doing it again would do it twice.
        throw Refusal(std::string("what was sent is in the library, but its answer could not be "
                                  "kept: ") +
                      refusal.what() + " The next command asks for it anew.");
    }
}

ExchangeReport Session::send(JsonElements records) {
    ExchangeReport report;
    report.recordsSent = records.size();
    const std::string text = request(std::move(records));
    const ReceivedFiles before = ReceivedFiles::in(state_.receivedFolder());
    const std::string response = library_.exchange(text);
    Snapshot answer = Snapshot::parse(response);
    keepAnswer(response, report.recordsSent > 0);

    report.payloadFilesWritten = ReceivedFiles::in(state_.receivedFolder()).writtenSince(before);
    report.difference = difference(snapshot_, answer);
    report.fingerprintsChanged =
        countThings(report.difference.added) + countThings(report.difference.changed);
    snapshot_ = std::move(answer);
    hasSnapshot_ = true;
    return report;
}

JsonElements Session::allRecords() const {
    JsonElements records;
    for (const ProjectRecord& project : snapshot_.projects()) records.push_back(toRecord(project));
    for (const TagRecord& tag : snapshot_.tags()) records.push_back(toRecord(tag));
    for (ThingRecord thing : snapshot_.things()) {
        thing.baseFileFingerprint = thing.fileFingerprint;
        records.push_back(toRecord(thing));
    }
    return records;
}

}  // namespace kelto::ctl
