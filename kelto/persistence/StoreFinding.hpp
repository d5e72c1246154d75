#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kelto/foundation/Sha256.hpp"

namespace kelto {

/// One thing in a store that is not as the library leaves it. The sentence is for a person: what it
/// is, in which item, and what it means. The rest names the place, for whoever mends it; what does
/// not belong to a kind is empty.
struct StoreFinding {
    enum class Kind : std::uint8_t {
        unusableDatabase,   ///< Missing beside payload files, no store, of a newer format,
                            ///< unreadable.
        damagedDatabase,    ///< The database itself, below its tables.
        missingPart,        ///< An index or a trigger (`column`: its name), or a table.
        usedNumber,         ///< The numbers that an entity has given out are behind its rows.
        missingTarget,      ///< `column` of a row names a row or payload that is not there.
        illFormedList,      ///< `column` of a row is no list of rows.
        missingListTarget,  ///< `column` of a row lists rows that are not there, or one twice.
        cycle,              ///< Rows that lie in themselves; `row` is the youngest of them.
        duplicate,          ///< An identifier that an older row has already.
        unreadableValue,    ///< `column` of a row holds what no program can show.
        missingPayload,     ///< A payload's file is not there.
        damagedPayload,     ///< A payload's bytes are not those of its digest.
        unusedPayload,      ///< A payload that no row names.
        stray,              ///< A file of the payloads' folder that no row names.
        leftover,           ///< A file that was never finished.
        permissions,        ///< A file or folder that others may read, or its owner not write.
    };

    Kind kind = Kind::damagedDatabase;
    std::string sentence;
    std::string entity{};
    std::int64_t row = 0;
    std::string column{};
    std::optional<Digest> digest{};  ///< Of a payload.
    std::string path{};              ///< Of a file or folder.
};

/// The kind as programs read it: "missingPayload".
[[nodiscard]] std::string_view nameOf(StoreFinding::Kind kind);

/// A payload whose bytes lie in a file of their own.
struct StoredFile {
    Digest digest;
    std::uint64_t size = 0;
};

/// What was looked at, and what was found.
struct StoreReport {
    std::vector<StoreFinding> findings;
    /// What the reader should know besides, a sentence each.
    std::vector<std::string> notes;
    /// How many rows each entity has, in the order of the schema.
    std::vector<std::pair<std::string, std::int64_t>> rows;
    std::int64_t payloads = 0;
    std::uint64_t payloadBytes = 0;  ///< Of all payloads, as their rows say.
    std::vector<StoredFile> files;   ///< Those of them that should lie in files.

    [[nodiscard]] bool isHealthy() const { return findings.empty(); }
};

}  // namespace kelto
