#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "benchmarks/FloorRequest.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"

namespace kelto::bench {

/// A store that is nothing but rows: one table with a record's values, no index, one prepared
/// statement, one durable transaction. Opening it and making the table belongs to nobody's time.
class FloorStore {
public:
    explicit FloorStore(const std::string& path);

    void begin();
    /// Writes a row, whether it is there already or not. `payload` may be nullptr.
    void put(std::size_t id, const FloorRecord& record, const Digest* payload);
    void commit();
    /// Moves what was committed from the log to the table, so that it burdens no later transaction.
    void settle();

private:
    void bind(int parameter, const FloorRecord& record, FloorColumn column);
    void bindIdentifier(int parameter, const FloorValue& value);
    void bindTags(int parameter, const FloorRecord& record);

    SqliteDatabase database_;
    SqliteStatement put_;
    std::array<std::array<std::uint8_t, 16>, floorColumnNames.size()> identifiers_{};
    std::array<std::uint8_t, 16 * FloorRecord::tagLimit> tags_{};
};

}  // namespace kelto::bench
