#include "tests/crash/WatchedHost.hpp"

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kelto {

namespace {

void put(char (&place)[CALL_PATH_BYTES], const std::string& text) {
    if (text.size() >= sizeof place) throw std::runtime_error("too long a path: " + text);
    std::memcpy(place, text.c_str(), text.size() + 1);
}

std::string controlPath(const RunFolder& folder) {
    return folder.beside("control");
}

/// A fresh control file, mapped.
call_control* makeControl(const RunFolder& folder, WatchedHost::Journal journal) {
    const std::string path = controlPath(folder);
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0 || ftruncate(file, sizeof(call_control)) != 0) {
        throw std::runtime_error("cannot make " + path);
    }
    void* mapped = mmap(nullptr, sizeof(call_control), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (mapped == MAP_FAILED) throw std::runtime_error("cannot map " + path);
    auto* control = static_cast<call_control*>(mapped);
    put(control->root, folder.world());
    if (journal != WatchedHost::Journal::none) {
        const std::string journalPath = WatchedHost::journalPath(folder);
        if (journal == WatchedHost::Journal::begun) (void)unlink(journalPath.c_str());
        put(control->journal, journalPath);
    }
    return control;
}

}  // namespace

HostProcess::Options plainHost(const RunFolder& folder) {
    HostProcess::Options options{
        .program = KELTO_HOST, .arguments = {"exchange"}, .environment = {}};
    options.environment["XDG_DATA_HOME"] = folder.dataHome();
    return options;
}

HostProcess::Options WatchedHost::options(const RunFolder& folder) {
    HostProcess::Options options = plainHost(folder);
    options.environment["LD_PRELOAD"] = KELTO_WATCHED_CALLS;
    options.environment[CALL_CONTROL_VARIABLE] = controlPath(folder);
    return options;
}

WatchedHost::WatchedHost(const RunFolder& folder, Journal journal)
    : control_(makeControl(folder, journal)), host_(options(folder)) {}

WatchedHost::~WatchedHost() {
    munmap(control_, sizeof *control_);
}

void WatchedHost::arm() {
    arm(CallFault());
}

void WatchedHost::arm(const CallFault& fault) {
    disarm();
    control_->kill_at_change = 0;
    control_->fail_at_call = fault.call;
    control_->fail_error = fault.error;
    control_->is_armed = 1;
}

void WatchedHost::arm(const CallKill& kill) {
    arm();
    control_->kill_in_half = kill.inHalf ? 1 : 0;
    control_->kill_at_change = kill.change;
}

void WatchedHost::disarm() {
    control_->is_armed = 0;
    control_->calls = 0;
    control_->changes = 0;
    control_->has_happened = 0;
}

std::optional<HostAnswer> WatchedHost::ask(std::string_view request) {
    try {
        return host_.ask(request, ++lastContext_);
    } catch (const std::runtime_error&) {
        const HostEnd end = host_.wait();
        if (end == HostEnd{.exitCode = 0, .signal = SIGKILL}) return std::nullopt;
        throw;
    }
}

std::optional<HostAnswer> WatchedHost::killAndReadAnswer() {
    host_.kill();
    std::optional<HostAnswer> answer;
    try {
        answer = host_.receive();
    } catch (const std::runtime_error&) {
        answer.reset();  // it had not been given, or not as a whole
    }
    (void)host_.wait();
    return answer;
}

void WatchedHost::waitForCheckpoint() const {
    constexpr std::chrono::milliseconds quiet{60};
    std::uint64_t seen = 0;
    do {
        seen = control_->changes;
        std::this_thread::sleep_for(quiet);
    } while (control_->changes != seen && control_->has_happened == 0);
}

call_kind WatchedHost::kindOf(std::uint64_t call) const {
    if (call >= CALL_TRACE_LENGTH) throw std::runtime_error("more calls than the trace holds");
    return static_cast<call_kind>(control_->trace[call]);
}

std::string_view nameOf(call_kind kind) {
    switch (kind) {
        case CALL_CREATE:
            return "create a file";
        case CALL_WRITE:
            return "write";
        case CALL_TRUNCATE:
            return "cut a file";
        case CALL_FLUSH:
            return "flush a file";
        case CALL_FLUSH_FOLDER:
            return "flush a folder";
        case CALL_RENAME:
            return "rename";
        case CALL_UNLINK:
            return "remove a file";
        case CALL_MAKE_FOLDER:
            return "make a folder";
        case CALL_COPY_RANGE:
            return "copy in the kernel";
        case CALL_MODE:
            return "set permissions";
        case CALL_OPEN:
            return "open a file";
        case CALL_OPEN_FOLDER:
            return "open a folder";
        case CALL_READ:
            return "read";
        case CALL_STATUS:
            return "ask for a status";
        case CALL_LIST:
            return "list a folder";
        case CALL_MAP:
            return "map";
        case CALL_LOCK:
            return "lock";
        case CALL_NONE:
        case CALL_KINDS:
            break;
    }
    return "none";
}

}  // namespace kelto
