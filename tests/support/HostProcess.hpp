#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tests/support/Response.hpp"

namespace kelto {

/// What a host has seen of one callback.
struct HostAnswer {
    std::int64_t context = 0;
    int callbackCount = 0;  ///< Of the same call, this one included.
    bool onMainThread = false;
    bool insideCall = false;  ///< It came before kelto_apple_exchange had returned.
    std::string text;

    [[nodiscard]] Response response() const { return Response(text); }
};

/// How a process ended: one of the two is not zero, or it ended well.
struct HostEnd {
    int exitCode = 0;
    int signal = 0;

    friend bool operator==(const HostEnd&, const HostEnd&) = default;
};

void PrintTo(const HostEnd& end, std::ostream* out);

/// A host of the library in a process of its own (tests/hosts/exchange_host.cpp), with an
/// environment of the test's choice and nothing else in it. The process never outlives this object,
/// and one that does not answer within the time limit is an exception.
class HostProcess {
public:
    struct Options {
        std::string program;  ///< Path of the host.
        std::vector<std::string> arguments = {"exchange"};
        std::map<std::string, std::string> environment;
    };
    static constexpr std::chrono::seconds timeLimit{60};

    explicit HostProcess(const Options& options);
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    void send(std::string_view request, std::int64_t context);
    /// The next callback that the host has written down.
    HostAnswer receive();
    /// A request and its answer.
    HostAnswer ask(std::string_view request, std::int64_t context = 1);
    /// No more requests: the host answers what it has and ends.
    void finishInput();
    /// The bytes of the next frame, whatever its numbers are.
    std::string receiveText();
    /// Ends the process by SIGKILL, at whatever it is.
    void kill();
    /// Waits for the end.
    HostEnd wait();
    /// The process's number, while it runs.
    [[nodiscard]] pid_t number() const { return process_; }
    /// What the process has written to its standard error, once it has ended.
    [[nodiscard]] const std::string& standardError() const { return standardError_; }

private:
    struct Frame {
        std::vector<std::int64_t> numbers;
        std::string bytes;
    };
    Frame receiveFrame();
    /// Reads what there is of both outputs; false at the end of both.
    bool readOutputs();
    [[noreturn]] void fail(const std::string& what);

    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    int error_ = -1;
    std::string buffered_;
    std::string standardError_;
    std::chrono::steady_clock::time_point deadline_;
};

}  // namespace kelto
