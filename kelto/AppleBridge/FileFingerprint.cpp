#include "kelto/AppleBridge/FileFingerprint.hpp"

#include "kelto/AppleBridge/WireTimestamp.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Sha256.hpp"

namespace kelto {

FileFacts FileFacts::of(const Thing& thing) {
    return {thing.kindRaw(),
            thing.title(),
            thing.content(),
            thing.urlString(),
            thing.fileName(),
            thing.trashedAt(),
            thing.data()};
}

std::string canonicalJson(const FileFacts& facts) {
    std::string json = R"({"content":)";
    appendJsonString(json, facts.content);
    if (facts.data) {
        json += R"(,"data":")";
        facts.data->digest.appendHex(json);
        json += '"';
    }
    json += R"(,"kind":)";
    appendJsonString(json, facts.kind);
    json += R"(,"name":)";
    appendJsonString(json, facts.name);
    json += R"(,"title":)";
    appendJsonString(json, facts.title);
    if (facts.trashed) {
        json += R"(,"trashed":)";
        appendJsonInteger(json, wireTimestamp(*facts.trashed));
    }
    json += R"(,"url":)";
    appendJsonString(json, facts.url);
    json += '}';
    return json;
}

std::string fileFingerprint(const FileFacts& facts) {
    return sha256(canonicalJson(facts)).hex();
}

std::string fileFingerprint(const Thing& thing) {
    if (thing.derivedDigests()) return thing.derivedDigests()->file.hex();
    return fileFingerprint(FileFacts::of(thing));
}

}  // namespace kelto
