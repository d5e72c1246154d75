#pragma once

#include "kelto/platform/CloudAccount.hpp"

namespace kelto {

/// The account of a machine without a cloud server: always there, and always the same one. Its
/// completions are called before the asking call returns.
class LocalAccount final : public CloudAccount {
public:
    /// Written into the marker file that binds a library to its account: it must never change.
    static constexpr const char* recordName = "_local";

    void accountStatus(StatusCompletion completion) override;
    void fetchUserRecordName(RecordCompletion completion) override;
};

}  // namespace kelto
