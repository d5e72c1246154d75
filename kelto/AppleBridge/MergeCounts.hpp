#pragma once

#include <cstddef>

namespace kelto {

/// What became of the records of a request.
struct MergeCounts {
    std::size_t created = 0;  ///< Items that were not there.
    std::size_t applied = 0;  ///< Live records whose values were taken, even if they changed none.
    std::size_t kept = 0;     ///< Live records that lost: the store's version is newer.
    std::size_t skipped = 0;  ///< Live records that were merged before and need not be again.
    std::size_t conflicts = 0;  ///< Copies made of items that both sides have changed.
    std::size_t deleted = 0;    ///< Items deleted.
};

}  // namespace kelto
