#include "tests/support/FakeCloudAccount.hpp"

#include <utility>

namespace kelto {

void FakeCloudAccount::accountStatus(StatusCompletion completion) {
    ++statusRequests;
    answer([this, completion = std::move(completion)] {
        completion(statusFailure ? AccountStatus::couldNotDetermine : status, statusFailure);
    });
}

void FakeCloudAccount::fetchUserRecordName(RecordCompletion completion) {
    ++recordRequests;
    answer([this, completion = std::move(completion)] {
        completion(recordFailure ? std::nullopt : recordName, recordFailure);
    });
}

void FakeCloudAccount::release(std::size_t index) {
    const std::function<void()> completion = std::move(held_.at(index));
    held_.erase(held_.begin() + static_cast<std::ptrdiff_t>(index));
    completion();
}

void FakeCloudAccount::releaseAll() {
    while (!held_.empty()) release();
}

void FakeCloudAccount::answer(std::function<void()> completion) {
    if (holdsAnswersBack) {
        held_.push_back(std::move(completion));
    } else {
        completion();
    }
}

}  // namespace kelto
