#include "kelto/AppleBridge/RecordWriter.hpp"

#include <cstring>
#include <string>
#include <utility>

#include "kelto/AppleBridge/WireTimestamp.hpp"
#include "kelto/foundation/JsonWriter.hpp"

namespace kelto {

namespace {

char* put(char* to, std::string_view text) {
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

}  // namespace

TextBuffer& RecordWriter::value(std::string_view key) {
    out_.commit(put(key, 0));
    return out_;
}

void RecordWriter::plainText(std::string_view key, std::string_view text) {
    char* to = put(key, text.size() + 2);
    *to++ = '"';
    to = kelto::put(to, text);
    *to++ = '"';
    out_.commit(to);
}

void RecordWriter::number(std::string_view key, double number) {
    appendJsonDouble(value(key), number);
}

void RecordWriter::identifiers(std::string_view key, std::span<const Uuid> uuids) {
    constexpr std::size_t aroundEach = 3;  // a comma, two quotation marks
    char* to = put(key, uuids.size() * (Uuid::textLength + aroundEach) + 2);
    *to++ = '[';
    for (std::size_t i = 0; i < uuids.size(); ++i) {
        if (i > 0) *to++ = ',';
        *to++ = '"';
        uuids[i].putLowerCase(to);
        to += Uuid::textLength;
        *to++ = '"';
    }
    *to++ = ']';
    out_.commit(to);
}

void RecordWriter::timestamp(std::string_view key, const Date& date) {
    integer(key, wireTimestamp(date));
}

void RecordWriter::close() {
    if (separator_ == '{') out_.append('{');
    out_.append('}');
}

RecordWriter base(TextBuffer& out,
                  std::string_view recordType,
                  const Uuid& uuid,
                  const Date& createdAt) {
    RecordWriter record(out);
    record.plainText("recordType", recordType);
    record.identifier("uuid", uuid);
    record.timestamp("createdAt", createdAt);
    return record;
}

}  // namespace kelto
