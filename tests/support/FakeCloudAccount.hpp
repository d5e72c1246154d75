#pragma once

#include <cstddef>
#include <deque>

#include "kelto/platform/CloudAccount.hpp"

namespace kelto {

/// An account service that answers what its fields say: at once, or when the test releases it. The
/// fields are looked at when the answer goes out, not when it is asked for.
class FakeCloudAccount final : public CloudAccount {
public:
    AccountStatus status = AccountStatus::available;
    std::optional<PlatformError> statusFailure;
    std::optional<std::string> recordName = "_alice";
    std::optional<PlatformError> recordFailure;
    bool holdsAnswersBack = false;

    std::size_t statusRequests = 0;
    std::size_t recordRequests = 0;

    void accountStatus(StatusCompletion completion) override;
    void fetchUserRecordName(RecordCompletion completion) override;

    /// How many answers are held back.
    [[nodiscard]] std::size_t heldBack() const { return held_.size(); }
    /// Gives one held-back answer, counted from the oldest.
    void release(std::size_t index = 0);
    /// Gives all of them, and those asked for meanwhile, oldest first.
    void releaseAll();

private:
    void answer(std::function<void()> completion);

    std::deque<std::function<void()>> held_;
};

}  // namespace kelto
