#include "tests/keltoctl/FakeLibrary.hpp"

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Sha256.hpp"

namespace kelto::ctl {

namespace {

constexpr std::array payloadKeys = {"data", "thumbnail", "icon"};

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::int64_t updatedAt(const JsonValue& thing) {
    return thing.member("updatedAt")->number()->integer().value_or(0);
}

}  // namespace

std::string textOf(const JsonValue& record, std::string_view key) {
    const JsonValue* value = record.member(key);
    return value != nullptr && value->string() != nullptr ? *value->string() : "";
}

std::string FakeLibrary::exchange(std::string_view request) {
    requests.push_back(JsonValue::parse(request));
    if (!refusal.empty()) return JsonValue(JsonMembers{{"version", 1}, {"error", refusal}}).text();
    const JsonValue& parsed = requests.back();
    for (const JsonValue& record : *parsed.member("records")->array()) apply(record);

    const std::string received = textOf(parsed, "directory") + "/received";
    std::filesystem::create_directories(received);
    JsonElements records;
    for (const auto& [id, project] : projects) records.push_back(project);
    for (const auto& [id, tag] : tags) records.push_back(tag);
    for (const auto& [id, thing] : things)
        records.push_back(exported(thing, received, *parsed.member("knownFingerprints")));
    return JsonValue(JsonMembers{{"version", 1},
                                 {"directory", textOf(parsed, "directory")},
                                 {"records", std::move(records)},
                                 {"status", "ready"}})
        .text();
}

void FakeLibrary::apply(const JsonValue& record) {
    const std::string type = textOf(record, "recordType");
    auto& stored = type == "Project" ? projects : type == "Tag" ? tags : things;
    const std::string id = textOf(record, "uuid");
    if (record.member("deleted") != nullptr) {
        stored.erase(id);
        return;
    }
    const auto known = stored.find(id);
    if (type == "Thing" && known != stored.end() && updatedAt(known->second) > updatedAt(record))
        return;
    JsonValue kept = record;
    kept.removeMember("baseFileFingerprint");
    if (type == "Thing") {
        for (const char* key : payloadKeys) {
            std::string& payload = payloads[id + "." + key];
            payload = record.member(key) != nullptr ? readFile(textOf(record, key)) : "";
        }
    }
    stored[id] = std::move(kept);
}

JsonValue FakeLibrary::exported(const JsonValue& thing,
                                const std::string& received,
                                const JsonValue& known) const {
    JsonValue record = thing;
    const std::string id = textOf(thing, "uuid");
    for (const char* key : payloadKeys)
        if (record.member(key) != nullptr)
            record.setMember(key, sha256(payloads.at(id + "." + key)).hex());
    record.setMember(
        "fileFingerprint",
        sha256(textOf(record, "title") + textOf(record, "content") + textOf(record, "data")).hex());
    const std::string fingerprint = sha256(record.text()).hex();
    record.setMember("fingerprint", fingerprint);
    for (const char* key : payloadKeys) {
        if (record.member(key) == nullptr) continue;
        const std::string path = joinedPath(received, id + "." + key);
        if (textOf(known, "Thing:" + id) != fingerprint)
            std::ofstream(path, std::ios::binary) << payloads.at(id + "." + key);
        record.setMember(key, path);
    }
    return record;
}

}  // namespace kelto::ctl
