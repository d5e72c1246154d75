#include "kelto/AppleBridge/RecordReader.hpp"

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

static_assert(std::is_trivially_destructible_v<RecordValues>);

RecordValues& RecordReader::blank() {
    if (few_.size() < fewRecords) return few_.emplace_back();
    constexpr std::size_t pieceRecords = LargeMemory::usualBytes / sizeof(RecordValues);
    if (free_ == 0) {
        pieces_.emplace_back(LargeMemory::usualBytes);
        free_ = pieceRecords;
    }
    auto* const first = static_cast<RecordValues*>(pieces_.back().start());
    return *new (first + (pieceRecords - free_--)) RecordValues();  // needs no destructor
}

const RecordValues& RecordReader::read(JsonReader& reader) {
    countWork(Work::recordsRead);
    RecordValues& values = blank();
    reader.enterObject();
    while (const auto text = reader.nextKey()) {
        if (const auto key = recordKey(*text)) {
            values[static_cast<std::size_t>(*key)] = readValue(reader, *key);
        } else {
            reader.skipValue();
        }
    }
    return values;
}

const RecordValues& RecordReader::read(std::string_view text) {
    return read(readers_.emplace_back(text));
}

RecordValue RecordReader::readValue(JsonReader& reader, RecordKey key) {
    switch (reader.kind()) {
        case JsonKind::string:
            return RecordValue::string(reader.string());
        case JsonKind::number:
            return RecordValue::number(reader.number());
        case JsonKind::boolean:
            return RecordValue::boolean(reader.boolean());
        case JsonKind::array:
            if (key == RecordKey::tags) return readIdentifiers(reader);
            break;
        case JsonKind::object:
        case JsonKind::null:
            break;
    }
    reader.skipValue();
    return RecordValue::other();
}

RecordValue RecordReader::readIdentifiers(JsonReader& reader) {
    list_.clear();
    reader.enterArray();
    while (reader.nextElement()) {
        if (reader.kind() != JsonKind::string) {
            reader.skipValue();
        } else if (const auto identifier = Uuid::parse(reader.string())) {
            list_.push_back(*identifier);
        }
    }
    static_assert(alignof(Uuid) == 1 && std::is_trivially_copyable_v<Uuid>);
    const std::size_t bytes = list_.size() * sizeof(Uuid);
    auto* const kept = reinterpret_cast<Uuid*>(lists_.reserve(bytes));
    std::uninitialized_copy(list_.begin(), list_.end(), kept);
    lists_.commit(bytes);
    return RecordValue::identifiers({kept, list_.size()});
}

}  // namespace kelto
