#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/crash/RunFolder.hpp"
#include "tests/crash/call_control.h"
#include "tests/support/HostProcess.hpp"

namespace kelto {

/// One of the numbered calls fails once.
struct CallFault {
    std::uint64_t call = 0;
    std::int32_t error = 0;  ///< An errno, or CALL_FAULT_SHORT.
};

/// The process dies before one of the numbered changes.
struct CallKill {
    std::uint64_t change = 0;
    bool inHalf = false;  ///< If it is a write, half of it is done.
};

/// A host in a process of its own, all of whose calls below a run's world are seen. Calls are
/// numbered from each arm() on.
class WatchedHost {
public:
    enum class Journal : std::uint8_t { none, begun, continued };

    explicit WatchedHost(const RunFolder& folder, Journal journal = Journal::none);
    ~WatchedHost();
    WatchedHost(const WatchedHost&) = delete;
    WatchedHost& operator=(const WatchedHost&) = delete;

    void arm();
    void arm(const CallKill& kill);
    void arm(const CallFault& fault);
    void disarm();

    /// None when the process died before it answered.
    [[nodiscard]] std::optional<HostAnswer> ask(std::string_view request);
    void send(std::string_view request) { host_.send(request, ++lastContext_); }
    /// Kills the process at this moment; the answer if it had been given by then.
    [[nodiscard]] std::optional<HostAnswer> killAndReadAnswer();
    /// Closes the host's input, and waits for its end.
    HostEnd wait() { return host_.wait(); }

    /// Lets the store's own thread finish what an exchange has left to it, or die in it.
    void waitForCheckpoint() const;

    [[nodiscard]] std::uint64_t calls() const { return control_->calls; }
    [[nodiscard]] std::uint64_t changes() const { return control_->changes; }
    [[nodiscard]] call_kind kindOf(std::uint64_t call) const;
    /// Whether the kill or the fault has come, and where.
    [[nodiscard]] bool hasHappened() const { return control_->has_happened != 0; }
    [[nodiscard]] std::string happenedPath() const { return control_->happened_path; }
    /// The path of the journal of a run.
    [[nodiscard]] static std::string journalPath(const RunFolder& folder) {
        return folder.beside("journal");
    }

private:
    [[nodiscard]] static HostProcess::Options options(const RunFolder& folder);

    call_control* control_;
    HostProcess host_;
    std::int64_t lastContext_ = 0;
};

/// A host without any watching, for looking at what is left.
[[nodiscard]] HostProcess::Options plainHost(const RunFolder& folder);
/// The names of calls for people: "write", "open for reading".
[[nodiscard]] std::string_view nameOf(call_kind kind);

}  // namespace kelto
