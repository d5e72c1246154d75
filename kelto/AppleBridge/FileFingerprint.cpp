#include "kelto/AppleBridge/FileFingerprint.hpp"

#include "kelto/AppleBridge/RecordWriter.hpp"
#include "kelto/AppleBridge/StoredFingerprints.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/TextBuffer.hpp"

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
    TextBuffer json;
    RecordWriter record(json);
    record.text("content", facts.content);
    if (facts.data) record.digest("data", facts.data->digest);
    record.text("kind", facts.kind);
    record.text("name", facts.name);
    record.text("title", facts.title);
    if (facts.trashed) record.timestamp("trashed", *facts.trashed);
    record.text("url", facts.url);
    record.close();
    return std::string(json.view());
}

std::string fileFingerprint(const FileFacts& facts) {
    return sha256(canonicalJson(facts)).hex();
}

std::string fileFingerprint(const Thing& thing) {
    if (const DerivedDigests* held = heldFingerprints(thing)) return held->file.hex();
    return fileFingerprint(FileFacts::of(thing));
}

}  // namespace kelto
