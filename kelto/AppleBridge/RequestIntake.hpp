#pragma once

#include <cstddef>
#include <cstdint>
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
    /// The copy. It has the number of the last request if it is the same text, and one that no
    /// other has if it is not; none if it was repaired.
    [[nodiscard]] LargeText take(std::string_view request);

private:
    /// A part of a request that is UTF-8.
    struct Piece {
        TextHash hash;
        std::size_t size = 0;

        friend bool operator==(const Piece&, const Piece&) = default;
    };
    struct Taken {
        std::vector<Piece> pieces;
        std::uint64_t number = 0;
    };

    [[nodiscard]] std::shared_ptr<const Taken> last();
    void remember(std::shared_ptr<const Taken> taken);

    std::mutex mutex_;
    std::shared_ptr<const Taken> last_ = std::make_shared<const Taken>();  // never changed
};

}  // namespace kelto
