#pragma once

#include <mutex>
#include <optional>
#include <string_view>

#include "kelto/foundation/LargeText.hpp"

namespace kelto {

/// The text of the request that was answered last. A host in which nothing has changed sends the
/// same text again: comparing it is less than copying it and checking that it is UTF-8. Any thread.
class LastRequest {
public:
    void remember(LargeText text);
    /// Gives the memory back, when nobody else has the text.
    void forget();

    /// The remembered text, if it is the same byte by byte.
    [[nodiscard]] std::optional<LargeText> sameAs(std::string_view request) const;

private:
    mutable std::mutex mutex_;
    std::optional<LargeText> text_;
};

}  // namespace kelto
