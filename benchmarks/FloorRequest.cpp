#include "benchmarks/FloorRequest.hpp"

#include <stdexcept>

namespace kelto::bench {

namespace {

constexpr std::size_t columns = floorColumnNames.size();

bool namesPayload(std::string_view key) {
    switch (key.size()) {
        case 4:
            return key == "data" || key == "icon";
        case 9:
            return key == "thumbnail";
        default:
            return false;
    }
}

/// The column of a key, looked for from `expected` on: the keys come in the order of the columns.
std::size_t columnOf(std::string_view key, std::size_t expected) {
    for (std::size_t i = 0; i < columns; ++i) {
        const std::size_t column = (expected + i) % columns;
        if (floorColumnNames[column] == key) return column;
    }
    return columns;
}

}  // namespace

FloorRequest::FloorRequest(std::string_view text) : reader_(text) {
    reader_.enterObject();
    while (const auto key = reader_.nextKey()) {
        if (*key == "records") {
            reader_.enterArray();
            return;
        }
        reader_.skipValue();
    }
    throw std::runtime_error("the request has no records");
}

bool FloorRequest::nextRecord(FloorRecord& record, FloorDetail detail) {
    if (!reader_.nextElement()) {
        while (reader_.nextKey()) reader_.skipValue();
        reader_.finish();
        return false;
    }
    record.payloadCount = 0;
    reader_.enterObject();
    if (detail == FloorDetail::paths) {
        readPaths(record);
    } else {
        readValues(record);
    }
    return true;
}

void FloorRequest::readPaths(FloorRecord& record) {
    while (const auto key = reader_.nextKey()) {
        if (namesPayload(*key)) {
            record.payloadPaths[record.payloadCount++] = reader_.string();
        } else {
            reader_.skipValue();
        }
    }
}

void FloorRequest::readValues(FloorRecord& record) {
    record.values.fill({});
    record.tagCount = 0;
    std::size_t expected = 0;
    while (const auto key = reader_.nextKey()) {
        const std::size_t column = columnOf(*key, expected);
        if (column == columns) {
            reader_.skipValue();
            continue;
        }
        expected = column + 1;
        if (reader_.kind() == JsonKind::array) {
            readTags(record);
            continue;
        }
        record.values[column] = readValue();
        if (namesPayload(*key)) {
            record.payloadPaths[record.payloadCount++] = record.values[column].text;
        }
    }
}

void FloorRequest::readTags(FloorRecord& record) {
    reader_.enterArray();
    while (reader_.nextElement()) {
        if (record.tagCount == FloorRecord::tagLimit) {
            reader_.skipValue();
        } else {
            record.tags[record.tagCount++] = reader_.string();
        }
    }
}

FloorValue FloorRequest::readValue() {
    switch (reader_.kind()) {
        case JsonKind::string:
            return {FloorValue::Kind::text, reader_.string()};
        case JsonKind::number:
            return {FloorValue::Kind::number, reader_.numberToken()};
        case JsonKind::boolean:
            return {FloorValue::Kind::boolean, reader_.boolean() ? "1" : "0"};
        default:
            reader_.skipValue();
            return {};
    }
}

}  // namespace kelto::bench
