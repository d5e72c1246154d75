#pragma once

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "kelto/foundation/LargeText.hpp"
#include "kelto/foundation/TextHash.hpp"

namespace kelto {

/// Takes requests in: their memory is the host's, so they are copied, and repaired where they are
/// not UTF-8. A host sends much the same text every time: what has come before at the same place is
/// known to be UTF-8. Any thread.
class RequestIntake {
public:
    /// The copy. It knows its hash, by which a request that came before is recognised, unless it
    /// was repaired.
    [[nodiscard]] LargeText take(std::string_view request);

private:
    /// A part of a request that is UTF-8.
    struct Piece {
        TextHash hash;
        std::size_t size = 0;

        friend bool operator==(const Piece&, const Piece&) = default;
    };
    using Pieces = std::vector<Piece>;

    std::mutex mutex_;
    std::shared_ptr<const Pieces> last_ = std::make_shared<const Pieces>();  // never changed
};

}  // namespace kelto
