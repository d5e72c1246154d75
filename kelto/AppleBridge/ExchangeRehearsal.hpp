#pragma once

#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "kelto/AppleBridge/ExchangeRequest.hpp"
#include "kelto/AppleBridge/MergeObserver.hpp"
#include "kelto/platform/Platform.hpp"

namespace kelto {

/// What an exchange would do with each record of its request.
struct Rehearsal {
    /// In the order in which the merge takes them: live records, then deletions. As far as the
    /// merge came.
    std::vector<MergeDecision> decisions;
    /// The error that would refuse the whole request; then nothing at all would be changed.
    std::exception_ptr refusal;
    /// The place of the record that it is about; none when it is about no single one.
    std::optional<std::size_t> refusedRecord;
};

/// Merges a request into a copy of the store at `storePath`, and throws the result away: decisions
/// are made by the very code that makes them in an exchange. The copy is one of the database alone,
/// in `scratchFolder`, which exists, is private and belongs to the caller. Neither the store nor
/// its payload files are touched, and nobody waits for it. Payload files that the request names are
/// read if the library does not know them, and copied nowhere. A store that is not there is an
/// empty one. Throws what keeps the store from being looked at.
[[nodiscard]] Rehearsal rehearseMerge(const Platform& platform,
                                      const std::string& storePath,
                                      const ExchangeRequest& request,
                                      const std::string& scratchFolder);

}  // namespace kelto
