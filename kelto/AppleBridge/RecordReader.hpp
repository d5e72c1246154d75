#pragma once

#include <array>
#include <deque>
#include <string_view>
#include <vector>

#include "kelto/AppleBridge/RecordKey.hpp"
#include "kelto/AppleBridge/RecordValue.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/LargeMemory.hpp"
#include "kelto/foundation/TextArena.hpp"
#include "kelto/foundation/Uuid.hpp"

namespace kelto {

/// One value for each key of a record.
using RecordValues = std::array<RecordValue, recordKeyCount>;

/// Takes records apart into values by key, and owns what they hold. What it answers lives as long
/// as it does, and borrows from the text.
class RecordReader {
public:
    RecordReader() = default;
    RecordReader(const RecordReader&) = delete;
    RecordReader& operator=(const RecordReader&) = delete;

    /// Reads the object that stands next; `reader` must live as long as its values.
    [[nodiscard]] const RecordValues& read(JsonReader& reader);
    /// The same for the text of an object that was read before, and is known to be well formed.
    [[nodiscard]] const RecordValues& read(std::string_view text);

private:
    /// So many records are made one by one, before memory is asked for in large pieces.
    static constexpr std::size_t fewRecords = 32;

    [[nodiscard]] RecordValues& blank();
    [[nodiscard]] RecordValue readValue(JsonReader& reader, RecordKey key);
    [[nodiscard]] RecordValue readIdentifiers(JsonReader& reader);

    std::deque<RecordValues> few_;
    std::vector<LargeMemory> pieces_;
    std::size_t free_ = 0;            // records for which the last piece has room
    std::vector<Uuid> list_;          // under way; kept for its memory
    TextArena lists_;                 // of identifiers, which records point at
    std::deque<JsonReader> readers_;  // of single records, for the texts that they have decoded
};

}  // namespace kelto
