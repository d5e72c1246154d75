#include "kelto/AppleBridge/RecordWriter.hpp"

#include "kelto/AppleBridge/WireTimestamp.hpp"
#include "kelto/foundation/JsonWriter.hpp"

namespace kelto {

std::string& RecordWriter::value(std::string_view key) {
    if (!isEmpty_) out_ += ',';
    isEmpty_ = false;
    out_ += '"';
    out_ += key;
    out_ += "\":";
    return out_;
}

void RecordWriter::text(std::string_view key, std::string_view text) {
    appendJsonString(value(key), text);
}

void RecordWriter::integer(std::string_view key, std::int64_t integer) {
    appendJsonInteger(value(key), integer);
}

void RecordWriter::number(std::string_view key, double number) {
    appendJsonDouble(value(key), number);
}

void RecordWriter::boolean(std::string_view key, bool boolean) {
    value(key) += boolean ? "true" : "false";
}

void RecordWriter::identifier(std::string_view key, const Uuid& uuid) {
    std::string& out = value(key);
    out += '"';
    uuid.appendLowerCase(out);
    out += '"';
}

void RecordWriter::timestamp(std::string_view key, const Date& date) {
    integer(key, wireTimestamp(date));
}

RecordWriter base(std::string& out,
                  std::string_view recordType,
                  const Uuid& uuid,
                  const Date& createdAt) {
    RecordWriter record(out);
    record.text("recordType", recordType);
    record.identifier("uuid", uuid);
    record.timestamp("createdAt", createdAt);
    return record;
}

}  // namespace kelto
