#include "tests/support/HostProcess.hpp"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelto {

namespace {

/// Both ends close when a program is started, except where it is told otherwise.
std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("the test has no pipe left");
    return ends;
}

void closeIfOpen(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

void PrintTo(const HostEnd& end, std::ostream* out) {
    *out << "exit code " << end.exitCode << ", signal " << end.signal;
}

HostProcess::HostProcess(const Options& options) {
    // A host that has died must be an error here, not the end of the test.
    (void)signal(SIGPIPE, SIG_IGN);
    auto [inputRead, inputWrite] = makePipe();
    auto [outputRead, outputWrite] = makePipe();
    auto [errorRead, errorWrite] = makePipe();

    std::vector<std::string> arguments = options.arguments;
    arguments.insert(arguments.begin(), options.program);
    std::vector<std::string> variables;
    for (const auto& [name, value] : options.environment) {
        variables.push_back(name);
        variables.back() += "=" + value;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputRead, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputWrite, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorWrite, STDERR_FILENO);
    const int failure = posix_spawn(&process_,
                                    options.program.c_str(),
                                    &actions,
                                    nullptr,
                                    pointers(arguments).data(),
                                    pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    closeIfOpen(inputRead);
    closeIfOpen(outputWrite);
    closeIfOpen(errorWrite);
    input_ = inputWrite;
    output_ = outputRead;
    error_ = errorRead;
    fcntl(input_, F_SETFL, O_NONBLOCK);
    deadline_ = std::chrono::steady_clock::now() + timeLimit;
    if (failure != 0) {
        process_ = -1;
        fail("could not be started (" + std::string(std::strerror(failure)) + ")");
    }
}

HostProcess::~HostProcess() {
    if (process_ > 0) {
        kill();
        waitpid(process_, nullptr, 0);
    }
    closeIfOpen(input_);
    closeIfOpen(output_);
    closeIfOpen(error_);
}

void HostProcess::send(std::string_view request, std::int64_t context) {
    const std::string frame = std::to_string(context) + ' ' + std::to_string(request.size()) +
                              '\n' + std::string(request);
    deadline_ = std::chrono::steady_clock::now() + timeLimit;
    std::size_t sent = 0;
    while (sent < frame.size()) {
        const ssize_t written = write(input_, frame.data() + sent, frame.size() - sent);
        if (written > 0) {
            sent += static_cast<std::size_t>(written);
        } else if (errno == EAGAIN) {
            if (!readOutputs()) fail("ended while it was being written to");
        } else if (errno != EINTR) {
            fail("takes no more requests");
        }
    }
}

HostAnswer HostProcess::receive() {
    Frame frame = receiveFrame();
    if (frame.numbers.size() != 4) fail("wrote a frame that is no response");
    return {frame.numbers[0],
            static_cast<int>(frame.numbers[1]),
            frame.numbers[2] != 0,
            frame.numbers[3] != 0,
            std::move(frame.bytes)};
}

HostAnswer HostProcess::ask(std::string_view request, std::int64_t context) {
    send(request, context);
    return receive();
}

void HostProcess::finishInput() {
    closeIfOpen(input_);
}

std::string HostProcess::receiveText() {
    return receiveFrame().bytes;
}

HostProcess::Frame HostProcess::receiveFrame() {
    deadline_ = std::chrono::steady_clock::now() + timeLimit;
    std::size_t lineEnd = 0;
    while ((lineEnd = buffered_.find('\n')) == std::string::npos) {
        if (!readOutputs()) fail("ended without an answer");
    }
    Frame frame;
    std::istringstream line(buffered_.substr(0, lineEnd));
    for (std::int64_t number = 0; line >> number;) frame.numbers.push_back(number);
    if (frame.numbers.empty()) fail("wrote a line without a length");
    const auto length = static_cast<std::size_t>(frame.numbers.back());
    frame.numbers.pop_back();
    while (buffered_.size() < lineEnd + 1 + length) {
        if (!readOutputs()) fail("ended in the middle of an answer");
    }
    frame.bytes = buffered_.substr(lineEnd + 1, length);
    buffered_.erase(0, lineEnd + 1 + length);
    return frame;
}

bool HostProcess::readOutputs() {
    std::array<pollfd, 2> polled{{{output_, POLLIN, 0}, {error_, POLLIN, 0}}};
    if (output_ < 0 && error_ < 0) return false;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline_ - std::chrono::steady_clock::now());
    // Not for ever in one piece: the caller may be waiting to write instead.
    const int milliseconds = input_ < 0 ? static_cast<int>(left.count()) : 20;
    if (left.count() <= 0) fail("does not answer");
    if (poll(polled.data(), polled.size(), milliseconds) <= 0) return true;
    const auto take = [](const pollfd& ready, int& descriptor, std::string& text) {
        if (ready.revents == 0) return;
        std::array<char, 65536> bytes;
        const ssize_t count = read(descriptor, bytes.data(), bytes.size());
        if (count > 0) text.append(bytes.data(), static_cast<std::size_t>(count));
        if (count == 0) closeIfOpen(descriptor);
    };
    take(polled[0], output_, buffered_);
    take(polled[1], error_, standardError_);
    return true;
}

void HostProcess::kill() {
    (void)::kill(process_, SIGKILL);
}

HostEnd HostProcess::wait() {
    finishInput();
    deadline_ = std::chrono::steady_clock::now() + timeLimit;
    while (readOutputs()) {
    }
    int status = 0;
    if (waitpid(process_, &status, 0) != process_) fail("cannot be waited for");
    process_ = -1;
    if (WIFSIGNALED(status)) return {0, WTERMSIG(status)};
    return {WEXITSTATUS(status), 0};
}

void HostProcess::fail(const std::string& what) {
    throw std::runtime_error("the host " + what + ". Its standard error: " + standardError_);
}

}  // namespace kelto
