#include "benchmarks/ResponseRecords.hpp"

#include "kelto/foundation/JsonReader.hpp"

namespace kelto::bench {

namespace {

std::string_view* memberOf(ResponseRecord& record, std::string_view key) {
    if (key == "recordType") return &record.recordType;
    if (key == "uuid") return &record.uuid;
    if (key == "name" || key == "title") return &record.name;
    if (key == "data") return &record.data;
    if (key == "fingerprint") return &record.fingerprint;
    if (key == "fileFingerprint") return &record.fileFingerprint;
    return nullptr;
}

ResponseRecord nextRecord(JsonReader& reader) {
    ResponseRecord record;
    reader.enterObject();
    while (const auto key = reader.nextKey()) {
        std::string_view* const member = memberOf(record, *key);
        if (member != nullptr && reader.kind() == JsonKind::string) {
            *member = reader.string();
        } else {
            reader.skipValue();
        }
    }
    return record;
}

}  // namespace

void forEachRecord(std::string_view response, const RecordVisitor& visit) {
    JsonReader reader(response);
    reader.enterObject();
    while (const auto key = reader.nextKey()) {
        if (*key != "records") {
            reader.skipValue();
            continue;
        }
        std::size_t position = 0;
        reader.enterArray();
        while (reader.nextElement()) visit(position++, nextRecord(reader));
    }
    reader.finish();
}

}  // namespace kelto::bench
