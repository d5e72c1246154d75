#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/RecordFields.hpp"

namespace kelto::ctl {

/// The records of a request or a response that somebody has saved in a file, by record type and
/// identifier. Of two records of one identifier the last one counts.
class SnapshotFile {
public:
    using Key = std::pair<std::string, std::string>;

    /// Throws WrongUsage, naming the file and the place in it, when it is no such document.
    explicit SnapshotFile(const std::string& path);

    [[nodiscard]] const std::map<Key, JsonValue>& records() const { return records_; }

private:
    std::map<Key, JsonValue> records_;
};

/// A record that is not the same in two files.
struct RecordDifference {
    enum class Kind : std::uint8_t { onlyInFirst, onlyInSecond, changed };
    Kind kind = Kind::changed;
    std::string recordType{};
    std::string id{};
    std::string name{};
    std::vector<FieldChange> fields{};
    /// By how many milliseconds the second file's version was changed later; negative: earlier.
    std::optional<std::int64_t> laterInSecond{};
    /// Whether the version that is a host's is based on the file of the other, which is the
    /// library's; none when neither says so.
    std::optional<bool> isBasedOnOther{};
};

/// In the order of record types and identifiers; the order in the files does not count. Payloads
/// are the same when their bytes are, as far as they can be read, wherever they lie.
[[nodiscard]] std::vector<RecordDifference> differences(const SnapshotFile& first,
                                                        const SnapshotFile& second);

}  // namespace kelto::ctl
