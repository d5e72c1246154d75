#include "tests/random/LibraryModel.hpp"

#include <algorithm>
#include <map>

#include "tests/random/ModelReaders.hpp"
#include "tests/random/ModelRecords.hpp"

namespace kelto::history {

namespace {

bool isRequest(const JsonValue& request) {
    const JsonValue* records = request.member("records");
    return readInteger(request, "version") == 1 && readText(request, "storePath") &&
           readText(request, "directory") && records != nullptr && records->array() != nullptr &&
           std::all_of(records->array()->begin(),
                       records->array()->end(),
                       [](const JsonValue& record) { return record.object() != nullptr; });
}

/// What the host says it holds; nothing at all unless every value is a text.
std::map<std::string, std::string> knownFingerprints(const JsonValue& request) {
    std::map<std::string, std::string> known;
    const JsonValue* given = request.member("knownFingerprints");
    if (given == nullptr || given->object() == nullptr) return known;
    for (const auto& [key, value] : *given->object()) {
        if (value.string() == nullptr) return {};
        known[key] = *value.string();
    }
    return known;
}

std::string receivedFolder(std::string directory) {
    if (directory.ends_with('/')) directory.pop_back();
    return directory + "/received";
}

/// A thing's payload files, unless the host holds this version of the thing.
void writeFiles(const ModelThing& thing,
                const JsonValue& record,
                const std::map<std::string, std::string>& known,
                std::vector<FileChange>& written) {
    const auto held = known.find("Thing:" + thing.id);
    if (held != known.end() && held->second == readText(record, "fingerprint")) return;
    if (thing.data) written.push_back({*readText(record, "data"), thing.data});
    if (thing.thumbnail) written.push_back({*readText(record, "thumbnail"), thing.thumbnail});
    if (thing.icon) written.push_back({*readText(record, "icon"), thing.icon});
}

Outcome answer(const ModelLibrary& library, const JsonValue& request) {
    const std::string directory = *readText(request, "directory");
    const auto known = knownFingerprints(request);
    Outcome outcome;
    JsonElements records;
    for (const ModelProject& project : library.projects) records.push_back(projectRecord(project));
    for (const ModelTag& tag : library.tags) records.push_back(tagRecord(tag));
    for (const ModelThing& thing : library.things) {
        records.push_back(thingRecord(thing, receivedFolder(directory)));
        writeFiles(thing, records.back(), known, outcome.written);
    }
    // No mirroring event ever comes in these histories, so the status stays and there was no sync.
    outcome.response = JsonMembers{{"version", 1},
                                   {"directory", directory},
                                   {"records", std::move(records)},
                                   {"status", "iCloud enabled — waiting for sync"}};
    return outcome;
}

}  // namespace

Outcome LibraryModel::exchange(std::size_t process,
                               const JsonValue& request,
                               const HostFiles& files,
                               Seconds now) {
    try {
        open(process, request);
        // Merged into a copy: a refusal leaves the library as it was.
        ModelLibrary merged = library_;
        MergeModel merge(merged, files, *readText(request, "directory"), now);
        merge.merge(*request.member("records")->array());
        library_ = std::move(merged);
        Outcome outcome = answer(library_, request);
        outcome.decisions = merge.decisions();
        return outcome;
    } catch (const Refusal& refusal) {
        Outcome outcome;
        outcome.refusal = refusal.sentence;
        outcome.unreadableFile = refusal.unreadableFile;
        return outcome;
    }
}

void LibraryModel::open(std::size_t process, const JsonValue& request) {
    if (!isRequest(request)) throw Refusal{"Invalid bridge request.", std::nullopt};
    const std::string path = *readText(request, "storePath");
    if (HostFiles::withoutDots(path) != storePath_) {
        throw Refusal{"The iCloud store must be in Kelto’s App Group.", std::nullopt};
    }
    if (openPaths_.try_emplace(process, path).first->second != path) {
        throw Refusal{"The native store is already open at a different location.", std::nullopt};
    }
}

}  // namespace kelto::history
