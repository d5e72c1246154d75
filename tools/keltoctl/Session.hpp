#pragma once

#include <cstddef>
#include <string>

#include "kelto/foundation/Json.hpp"
#include "tools/keltoctl/Difference.hpp"
#include "tools/keltoctl/HostState.hpp"
#include "tools/keltoctl/Library.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// What one exchange moved.
struct ExchangeReport {
    std::size_t recordsSent = 0;
    std::size_t fingerprintsChanged = 0;  ///< things of the answer that are new or changed
    std::size_t payloadFilesWritten = 0;  ///< files of the "received" folder that were replaced
    Difference difference;                ///< the answer against the snapshot before it
};

/// "1 record sent, 1 fingerprint changed, 0 payload files written"
[[nodiscard]] std::string sentence(const ExchangeReport& report);
[[nodiscard]] JsonValue toJson(const ExchangeReport& report);

/// The conversation of this host with the library: it knows the last answer, tells the library what
/// it knows, and keeps the next answer.
class Session {
public:
    Session(Library& library, const HostState& state, std::string storePath);

    /// The library as this host knows it: the last answer, empty before the first.
    [[nodiscard]] const Snapshot& snapshot() const { return snapshot_; }
    [[nodiscard]] bool hasSnapshot() const { return hasSnapshot_; }
    [[nodiscard]] const HostState& state() const { return state_; }

    /// Sends records, takes over the answer and says what moved. Throws Refusal with the library's
    /// sentence when it refuses; then nothing has changed. Throws one that says so when the
    /// library has taken them, but the answer cannot be kept.
    ExchangeReport send(JsonElements records);
    /// Asks for the library's present state and sends nothing.
    ExchangeReport refresh() { return send({}); }
    /// Sends everything this host knows, each linked thing with the state it was based on.
    ExchangeReport sendAll() { return send(allRecords()); }
    /// The request that sendAll() sends.
    [[nodiscard]] std::string requestOfAll() const { return request(allRecords()); }

private:
    [[nodiscard]] JsonValue knownFingerprints() const;
    [[nodiscard]] JsonElements allRecords() const;
    [[nodiscard]] std::string request(JsonElements records) const;
    void keepAnswer(const std::string& response, bool holdsAnyChange) const;

    Library& library_;
    const HostState& state_;
    std::string storePath_;
    Snapshot snapshot_;
    bool hasSnapshot_ = false;
};

}  // namespace kelto::ctl
