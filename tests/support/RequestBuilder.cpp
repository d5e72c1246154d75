#include "tests/support/RequestBuilder.hpp"

#include <cstdio>
#include <utility>

#include "kelto/foundation/Uuid.hpp"

namespace kelto {

namespace {

constexpr std::string_view pathOfLibrary = "(the library's own)";

}  // namespace

std::string identifier(unsigned number) {
    char text[Uuid::textLength + 1];
    (void)std::snprintf(text, sizeof text, "5eed0000-0000-4000-8000-0000%08x", number);
    return text;
}

RecordBuilder::RecordBuilder(std::string_view recordType, std::string_view uuid)
    : json_(JsonMembers{{"recordType", recordType}, {"uuid", uuid}}) {}

RecordBuilder RecordBuilder::project(std::string_view uuid) {
    return {"Project", uuid};
}

RecordBuilder RecordBuilder::tag(std::string_view uuid) {
    return {"Tag", uuid};
}

RecordBuilder RecordBuilder::thing(std::string_view uuid) {
    return {"Thing", uuid};
}

RecordBuilder RecordBuilder::deletion(std::string_view recordType, std::string_view uuid) {
    return RecordBuilder(recordType, uuid).with("deleted", true);
}

RecordBuilder& RecordBuilder::with(std::string_view key, JsonValue value) {
    json_.setMember(key, std::move(value));
    return *this;
}

RecordBuilder& RecordBuilder::without(std::string_view key) {
    json_.removeMember(key);
    return *this;
}

RecordBuilder& RecordBuilder::withTags(const std::vector<std::string>& uuids) {
    return with("tags", JsonElements(uuids.begin(), uuids.end()));
}

RequestBuilder::RequestBuilder()
    : json_(JsonMembers{{"version", 1},
                        {"storePath", pathOfLibrary},
                        {"directory", pathOfLibrary},
                        {"records", JsonElements()}}) {}

RequestBuilder& RequestBuilder::record(const RecordBuilder& record) {
    for (auto& [key, value] : *json_.object()) {
        if (key == "records") value.array()->push_back(record.json());
    }
    return *this;
}

RequestBuilder& RequestBuilder::with(std::string_view key, JsonValue value) {
    json_.setMember(key, std::move(value));
    return *this;
}

RequestBuilder& RequestBuilder::without(std::string_view key) {
    json_.removeMember(key);
    return *this;
}

RequestBuilder& RequestBuilder::knownFingerprint(std::string_view uuid,
                                                 std::string_view fingerprint) {
    const JsonValue* before = json_.member("knownFingerprints");
    JsonValue known = before == nullptr ? JsonValue(JsonMembers()) : *before;
    known.setMember("Thing:" + std::string(uuid), fingerprint);
    return with("knownFingerprints", std::move(known));
}

std::string RequestBuilder::text(std::string_view storePath, std::string_view directory) const {
    JsonValue json = json_;
    const JsonValue placeholder = pathOfLibrary;
    for (auto& [key, value] : *json.object()) {
        if (value != placeholder) continue;
        value = key == "storePath" ? storePath : directory;
    }
    return json.text();
}

}  // namespace kelto
