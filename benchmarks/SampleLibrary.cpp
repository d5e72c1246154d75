#include "benchmarks/SampleLibrary.hpp"

#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <utility>

#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto::bench {

namespace {

constexpr std::size_t tagCount = 60;
constexpr std::size_t topProjects = 10;
constexpr std::size_t projectCount = topProjects * 111;  // ten below each, ten below each of those
constexpr std::size_t payloadBytes = 20 * 1024;
constexpr std::int64_t firstMoment = 1'700'000'000'000;

enum class Entity : std::uint8_t { project = 1, tag = 2, thing = 3 };

/// The same identifiers in every run, spread like random ones.
std::string identifier(Entity entity, std::size_t number) {
    std::mt19937_64 engine(number * 8 + static_cast<std::size_t>(entity));
    Uuid uuid;
    for (auto& byte : uuid.bytes) byte = static_cast<std::uint8_t>(engine());
    return uuid.lowerCaseText();
}

void member(std::string& out, std::string_view key, std::string_view text) {
    out += ",\"";
    out += key;
    out += "\":";
    appendJsonString(out, text);
}

void number(std::string& out, std::string_view key, std::int64_t value) {
    out += ",\"";
    out += key;
    out += "\":";
    appendJsonInteger(out, value);
}

void open(std::string& out, std::string_view type, const std::string& uuid, std::size_t i) {
    out += out.back() == '[' ? "{" : ",{";
    out += "\"recordType\":";
    appendJsonString(out, type);
    member(out, "uuid", uuid);
    number(out, "createdAt", firstMoment + static_cast<std::int64_t>(i));
}

void appendProject(std::string& out, std::size_t i) {
    open(out, "Project", identifier(Entity::project, i), i);
    member(out, "name", "Projekt Ünïcode " + std::to_string(i));
    number(out, "sortOrder", static_cast<std::int64_t>(i % 10));
    member(out, "linkedFolderOwner", "");
    if (i >= topProjects) member(out, "parent", identifier(Entity::project, i / 10 - 1));
    out += '}';
}

void appendThing(std::string& out, std::size_t i, const std::string* payload) {
    const std::string n = std::to_string(i);
    open(out, "Thing", identifier(Entity::thing, i), i);
    number(out, "updatedAt", firstMoment + static_cast<std::int64_t>(i));
    member(out, "kind", payload != nullptr ? "image" : "note");
    member(out, "title", "Ein schöner Titel Nr. " + n);
    member(out, "subtitle", "Untertitel, zweite Zeile");
    member(out, "content", "Inhalt mit Umläuten – äöüß – und 日本語のテキスト, Nr. " + n);
    member(out, "note", i % 4 == 0 ? "Eine Notiz am Rand" : "");
    member(out, "urlString", "https://example.com/sammlung/" + n);
    member(out, "fileName", payload != nullptr ? "Bild " + n + ".jpeg" : "");
    member(out, "typeIdentifier", payload != nullptr ? "public.jpeg" : "");
    number(out, "fileSize", payload != nullptr ? static_cast<std::int64_t>(payloadBytes) : 0);
    out += ",\"aspectRatio\":";
    appendJsonDouble(out, payload != nullptr ? 16.0 / 9.0 : 1.0);
    out += ",\"isStarred\":false";
    member(out, "metadataJson", R"({"width":1600,"height":900})");
    member(out, "project", identifier(Entity::project, i * 7 % projectCount));
    out += ",\"tags\":[";
    for (std::size_t tag = 0; tag < 4; ++tag) {
        if (tag > 0) out += ',';
        appendJsonString(out, identifier(Entity::tag, (i + tag * 13) % tagCount));
    }
    out += ']';
    if (payload != nullptr) member(out, "data", *payload);
    out += '}';
}

std::string envelope(const std::string& storePath, const std::string& directory) {
    std::string out = "{\"version\":1";
    member(out, "storePath", storePath);
    member(out, "directory", directory);
    return out;
}

}  // namespace

SampleLibrary::SampleLibrary(std::size_t items, std::string folder)
    : items_(items), dataFolder_(folder + "/data"), exchangeFolder_(folder + "/exchange") {
    std::filesystem::create_directories(exchangeFolder_ + "/incoming");
    std::mt19937_64 engine(items);
    std::array<std::uint64_t, payloadBytes / sizeof(std::uint64_t)> bytes{};
    for (std::size_t i = 0; i < items; i += 3) {
        for (auto& word : bytes) word = engine();
        payloadPaths_.push_back(exchangeFolder_ + "/incoming/" + std::to_string(i));
        std::ofstream(payloadPaths_.back(), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), payloadBytes);
    }
}

std::size_t SampleLibrary::recordCount() const {
    return projectCount + tagCount + items_;
}

std::string SampleLibrary::importRequest(const std::string& storePath) const {
    std::string out = envelope(storePath, exchangeFolder_);
    out += ",\"records\":[";
    for (std::size_t i = 0; i < projectCount; ++i) appendProject(out, i);
    for (std::size_t i = 0; i < tagCount; ++i) {
        open(out, "Tag", identifier(Entity::tag, i), i);
        member(out, "name", "Schlagwort é " + std::to_string(i));
        out += '}';
    }
    for (std::size_t i = 0; i < items_; ++i) {
        appendThing(out, i, i % 3 == 0 ? &payloadPaths_[i / 3] : nullptr);
    }
    out += "]}";
    return out;
}

std::string followingRequest(const std::string& response,
                             const std::string& storePath,
                             std::size_t editedEvery) {
    const JsonValue snapshot = JsonValue::parse(response);
    std::string out = envelope(storePath, *snapshot.member("directory")->string());
    std::string known;
    out += ",\"records\":[";
    std::size_t things = 0;
    JsonElements records = *snapshot.member("records")->array();
    for (JsonValue& record : records) {
        if (const JsonValue* fingerprint = record.member("fingerprint")) {
            known += known.empty() ? "\"Thing:" : ",\"Thing:";
            known += *record.member("uuid")->string() + "\":\"" + *fingerprint->string() + "\"";
            if (editedEvery > 0 && things++ % editedEvery == 0) {
                record.setMember("title", *record.member("title")->string() + "!");
            }
        }
        if (out.back() != '[') out += ',';
        out += record.text();
    }
    out += "],\"knownFingerprints\":{" + known + "}}";
    return out;
}

}  // namespace kelto::bench
