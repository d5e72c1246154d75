#pragma once

#include <functional>
#include <optional>
#include <string>

#include "kelto/foundation/PlatformError.hpp"

namespace kelto {

/// The codes of the account service.
enum class AccountStatus {
    couldNotDetermine = 0,
    available = 1,
    restricted = 2,
    noAccount = 3,
    temporarilyUnavailable = 4,
};

/// Who is signed in to the cloud. Asked on the main thread; a completion is called exactly once, on
/// any thread, before or after the asking call returns.
class CloudAccount {
public:
    using StatusCompletion = std::function<void(AccountStatus, std::optional<PlatformError>)>;
    using RecordCompletion =
        std::function<void(std::optional<std::string> recordName, std::optional<PlatformError>)>;

    virtual ~CloudAccount() = default;
    virtual void accountStatus(StatusCompletion completion) = 0;
    /// The record name is a stable text for each account.
    virtual void fetchUserRecordName(RecordCompletion completion) = 0;
};

}  // namespace kelto
