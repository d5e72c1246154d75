#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>

#include "tests/crash/RunFolder.hpp"
#include "tests/crash/Story.hpp"

namespace kelto {

/// What a crash test has found wrong.
class CrashFinding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The store as it lies on disk, looked at without the library: SQLite's own checks, each large
/// payload's file with its digest. Throws a CrashFinding.
void requireSoundStore(const RunFolder& folder);
/// Nothing lies about that nobody needs: temporary files, payload files without a row.
void requireNoStrays(const RunFolder& folder);
/// The host's files hold what they should.
void requireReceived(const RunFolder& folder, const std::map<std::string, PayloadNumber>& expected);
/// One exchange of a new process that sends nothing and knows nothing: the answer without paths.
[[nodiscard]] std::string snapshotOf(const RunFolder& folder);

}  // namespace kelto
