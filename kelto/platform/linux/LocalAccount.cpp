#include "kelto/platform/linux/LocalAccount.hpp"

namespace kelto {

void LocalAccount::accountStatus(StatusCompletion completion) {
    completion(AccountStatus::available, std::nullopt);
}

void LocalAccount::fetchUserRecordName(RecordCompletion completion) {
    completion(recordName, std::nullopt);
}

}  // namespace kelto
