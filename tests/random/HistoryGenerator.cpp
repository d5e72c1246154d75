#include "tests/random/HistoryGenerator.hpp"

#include <algorithm>
#include <cctype>
#include <utility>

#include "tests/random/HistoryPools.hpp"
#include "tests/random/ModelReaders.hpp"

namespace kelto::history {

History HistoryGenerator::history() {
    History history;
    usesBothProcesses_ = dice_.chance(40);
    // To the one clock all files are young, and are read at every exchange; to the other, old.
    now_ = dice_.chance(50) ? 1'700'000'000.0 : 4'100'000'000.0;
    const std::size_t length = 10 + dice_.below(21);
    while (history.size() < length) {
        Host& host = hosts_[dice_.below(hosts_.size())];
        history.push_back(step(host));
        const HistoryStep& step = history.back();
        // Written and read again, as the library gets it: of keys that stand twice, the last.
        const JsonValue request = JsonValue::parse(step.request.text());
        if (step.restarts) model_.restart(step.process);
        outcomes_.push_back(model_.exchange(step.process, request, files_, step.now));
        remember(host, outcomes_.back());
    }
    return history;
}

HistoryStep HistoryGenerator::step(Host& host) {
    HistoryStep step;
    step.process = usesBothProcesses_ ? dice_.below(processCount) : 0;
    step.restarts = dice_.chance(10);
    // Between whole milliseconds, and sometimes backward.
    now_ += dice_.chance(10) ? -3600.0 : 0.1234567;
    step.now = now_;
    step.files = fileChanges(host);
    for (const FileChange& change : step.files) files_.change(change);
    // A host that missed the answer sends its request again; one that was restored from a backup,
    // an old one.
    const bool again = !host.requests.empty() && dice_.chance(12);
    const std::size_t age = again ? dice_.below(std::min<std::size_t>(host.requests.size(), 4)) : 0;
    step.request = again ? host.requests[host.requests.size() - 1 - age] : request(host);
    host.requests.push_back(step.request);
    return step;
}

void HistoryGenerator::remember(Host& host, const Outcome& outcome) {
    if (!outcome.isAnswer()) return;
    for (const FileChange& file : outcome.written) files_.change(file);
    host.snapshot = *outcome.response.member("records")->array();
    for (const JsonValue& record : host.snapshot) {
        if (const auto fingerprint = readText(record, "fileFingerprint")) {
            JsonElements& versions = versions_[*readText(record, "uuid")];
            if (versions.empty() || versions.back() != record) versions.push_back(record);
            fileFingerprints_.push_back(*fingerprint);
            fingerprints_.push_back(*readText(record, "fingerprint"));
        }
    }
}

std::vector<FileChange> HistoryGenerator::fileChanges(const Host& host) {
    std::vector<FileChange> changes;
    for (std::size_t count = dice_.below(3); count > 0; --count) {
        const std::string name = "/out/file" + std::to_string(dice_.below(4));
        changes.push_back(
            {host.directory + name, dice_.chance(10) ? nullptr : dice_.pick(pools::contents())});
    }
    // A host may take a received file away, or write over it.
    for (const auto& [path, content] : files_.all()) {
        if (!path.starts_with(host.directory + "/received/") || !dice_.chance(4)) continue;
        changes.push_back({path, dice_.chance(50) ? nullptr : dice_.pick(pools::contents())});
    }
    return changes;
}

JsonValue HistoryGenerator::request(const Host& host) {
    JsonValue request = JsonMembers{{"version", 1},
                                    {"storePath", storePath},
                                    {"directory", spelledDirectory(host)},
                                    {"records", records(host)}};
    if (dice_.chance(90)) request.setMember("knownFingerprints", knownFingerprints(host));
    if (dice_.chance(4)) spoilEnvelope(request);
    return request;
}

JsonElements HistoryGenerator::records(const Host& host) {
    RecordMaker maker(dice_, files_, host.directory);
    JsonElements records;
    const std::size_t known = dice_.chance(60) ? 90 : dice_.below(60);
    const std::size_t edited = dice_.pick(std::vector<std::size_t>{0, 10, 50});
    for (const JsonValue& received : host.snapshot) {
        if (!dice_.chance(known)) continue;
        JsonValue record = sentBack(maker, received);
        if (dice_.chance(edited)) maker.edit(record);
        records.push_back(std::move(record));
    }
    const std::size_t fresh = dice_.below(host.snapshot.size() < 8 ? 7 : 3);
    for (std::size_t count = fresh; count > 0; --count) records.push_back(newRecord(maker));
    for (std::size_t count = dice_.below(10) / 8; count > 0; --count) {
        records.push_back(maker.deletion());
    }
    if (!records.empty() && dice_.chance(15)) {
        JsonValue again = dice_.pick(records);  // the same record twice, or live and deleted
        if (again.member("deleted") == nullptr) maker.edit(again);
        if (dice_.chance(30)) again.setMember("deleted", true);
        records.push_back(std::move(again));
    }
    for (JsonValue& record : records) {
        if (dice_.chance(7)) maker.spoil(record);
    }
    if (!records.empty() && dice_.chance(8)) {
        maker.breakFatally(records[dice_.below(records.size())]);
    }
    if (dice_.chance(40)) shuffle(records);
    return records;
}

JsonValue HistoryGenerator::sentBack(RecordMaker& maker, const JsonValue& received) {
    if (received.member("fileFingerprint") == nullptr || !dice_.chance(10)) {
        return maker.sentBack(received, fileFingerprints_);
    }
    // Somebody goes back to a version of a while ago, knowingly or because of a stale memory.
    const JsonElements& versions = versions_[*readText(received, "uuid")];
    const std::size_t age = dice_.below(std::min<std::size_t>(versions.size(), 4));
    JsonValue record = maker.sentBack(versions[versions.size() - 1 - age], fileFingerprints_);
    const std::size_t roll = dice_.below(3);
    if (roll == 0) record.setMember("baseFileFingerprint", *received.member("fileFingerprint"));
    if (roll == 1) record.setMember("baseFileFingerprint", "no fingerprint");
    return record;
}

JsonValue HistoryGenerator::newRecord(RecordMaker& maker) {
    const std::size_t roll = dice_.below(10);
    if (roll < 5) return maker.thing();
    return roll < 8 ? maker.project() : maker.tag();
}

JsonValue HistoryGenerator::knownFingerprints(const Host& host) {
    if (dice_.chance(2)) return dice_.pick(pools::strangers());
    JsonValue known = JsonMembers{};
    for (const JsonValue& record : host.snapshot) {
        const auto fingerprint = readText(record, "fingerprint");
        if (!fingerprint) continue;
        std::string id = *readText(record, "uuid");
        std::string value = *fingerprint;
        const std::size_t roll = dice_.below(100);
        if (roll >= 75 && roll < 80) value = dice_.pick(fingerprints_);
        if (roll >= 80 && roll < 84) value = "no fingerprint";
        if (roll >= 84 && roll < 90) {
            for (char& c : roll < 87 ? id : value) c = static_cast<char>(std::toupper(c));
        }
        const char* prefix = roll >= 90 && roll < 92 ? "thing:" : "Thing:";
        if (roll < 95) known.setMember(prefix + id, value);
    }
    if (dice_.chance(10)) known.setMember("Thing:", "");
    if (dice_.chance(10)) known.setMember("what a later version may add", "x");
    if (dice_.chance(2)) known.setMember("Tag:x", dice_.pick(pools::strangers()));
    return known;
}

/// The host's folder, sometimes by another name of it.
std::string HistoryGenerator::spelledDirectory(const Host& host) {
    if (dice_.chance(5)) return host.directory + "/";
    if (dice_.chance(10) && host.directory == "/history/a") return "/history/alias-a";
    return host.directory;
}

void HistoryGenerator::spoilEnvelope(JsonValue& request) {
    const JsonValue versions[] = {
        JsonNumber{"1.0"}, JsonNumber{"10e-1"}, 2, 0, "1", true, nullptr, JsonNumber{"1.5"}};
    const JsonValue storePaths[] = {"/history/store/./Library/Kelto.store",
                                    "/history/store/Library/../Library/Kelto.store",
                                    "/history/store/Library/Other.store",
                                    "/history/store/library/Kelto.store",
                                    "",
                                    5};
    const JsonValue lists[] = {JsonMembers{}, JsonElements{5}, JsonElements{JsonElements{}}, "[]"};
    switch (dice_.below(5)) {
        case 0:
            return request.setMember("version", versions[dice_.below(std::size(versions))]);
        case 1:
            return request.setMember("storePath", storePaths[dice_.below(std::size(storePaths))]);
        case 2:
            return request.setMember("directory", dice_.pick(pools::strangers()));
        case 3:
            return request.setMember("records", lists[dice_.below(std::size(lists))]);
        default:
            request.removeMember(dice_.pick(*request.object()).first);
    }
}

void HistoryGenerator::shuffle(JsonElements& records) {
    for (std::size_t left = records.size(); left > 1; --left) {
        std::swap(records[left - 1], records[dice_.below(left)]);
    }
}

}  // namespace kelto::history
